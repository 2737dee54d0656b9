"""What has become of the alarms of a storm."""

import re
import sqlite3


def reported(alarm="Loss of Signal"):
    """How many reports of this alarm the database manager has written down."""
    with sqlite3.connect("file:/tmp/state/ponmgr/dbman.db?mode=ro", uri=True) as database:
        return database.execute("SELECT count(*) FROM alarm_events WHERE alarm = ?", (alarm,)).fetchone()[0]


def counted_as_lost(daemon):
    """How many events and alarms the daemon's log says are lost."""
    lines = [re.search(r": (\d+) (?:events|alarms) of slot \d lost, more than", line)
             for line in daemon.texts()]
    return sum(int(line[1]) for line in lines if line)
