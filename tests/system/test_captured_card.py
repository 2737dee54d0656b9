"""A card that lies about the others' ONUs and invents alarms, and what the others lose by it.

The card of slot 1 is captured; somebody else sends from its address while it works on.
"""

import json
import sqlite3
import sys
import time
from pathlib import Path

import pytest

from support import flood
from support.card import DIAGNOSIS, LINK_DISCOVERY, REPORT_ALARM, event, link_information
from support.process import Process
from support.product import ask, control, wait_for_agreement
from support.simulator import datagrams, journal_since
from support.waiting import wait_for

CAPTURED = "127.0.1.1:14113"
DAEMON = "127.0.0.1:14113"
CLAIMED = "00:0d:b6:02:00:00"  # 2/0/0
# More than dbman has room for in a slot.
INVENTED = 2600
LOSS_OF_SIGNAL = 17


def sending(frames, rate, seconds):
    """Begins to send them over and over from the captured card's address."""
    Path("/tmp/frames").write_text("\n".join(frame.hex() for frame in frames))
    return Process("flood", [sys.executable, flood.__file__, "--to", DAEMON, "--from", CAPTURED, "--rate", rate,
                             "--seconds", seconds, "--file", "/tmp/frames"])


def sent_by(sender):
    """How many in all, once it is over."""
    assert sender.wait_for_end(150) == 0, sender.output()
    return json.loads(sender.texts()[-1])["sent"]


def send(frames, rate, seconds):
    return sent_by(sending(frames, rate, seconds))


def shown_slot(mac):
    return next(onu["slot_id"] for onu in ask("dbman", "onu", "list")["onus"] if onu["mac_address"] == mac)


def claim():
    """Says from slot 1 that the ONU of slot 2 is there."""
    discovery = event(LINK_DISCOVERY, link_information(bytes.fromhex(CLAIMED.replace(":", ""))))
    assert send([discovery], 10, 0.5) > 0
    wait_for(lambda: shown_slot(CLAIMED) == "1", 60, "the claim is shown")


def test_an_onu_that_another_card_claims_is_right_when_its_slot_is_announced_until_it_is_claimed_again(chassis):
    chassis("1,2", "--onus", "1", "--configured", "--optics-interval", "0")
    assert shown_slot(CLAIMED) == "2"
    claim()
    ask("dbman", "slot", "announce", "2")
    wait_for_agreement(60)
    assert shown_slot(CLAIMED) == "2"
    claim()


def wait_until_levels_are_read():
    """And until slot 2 has reported, if it does, what is new by that."""
    before = datagrams()
    wait_for(lambda: any(entry["id"] == DIAGNOSIS and entry["hex"][12:24] == CLAIMED.replace(":", "")
                         for entry in journal_since(before, 2)), 240, "the levels are read", 0.5)
    # a pass reports its ONUs before the alarms that it has found
    told = len(alarms("history"))
    control("alarm", "2/nni-0", "Temperature", "raise")
    control("alarm", "2/nni-0", "Temperature", "clear")
    wait_for(lambda: len(alarms("history")) == told + 2, 60, "the pass behind that has reported")


@pytest.mark.long
@pytest.mark.timeout(600)
def test_an_onu_with_steady_levels_stays_with_the_card_that_claims_it_until_one_changes(chassis):
    chassis("1,2", "--onus", "1", "--configured", "--optics-interval", "0")
    claim()
    wait_until_levels_are_read()
    assert shown_slot(CLAIMED) == "1"
    control("onu", "2/0/0", "fade", "3")
    wait_until_levels_are_read()
    assert shown_slot(CLAIMED) == "2"


def alarms(of, *words):
    """The names and resources of slot 2's alarms, as one of dbman's lists has them."""
    key = {"list": "alarms", "history": "events"}[of]
    return [(row["alarm"], row["resource"]) for row in ask("dbman", "alarm", of, "--slot", "2", *words)[key]]


def invented_alarms():
    return [event(REPORT_ALARM, bytes([3]) + bytes.fromhex(f"000fe900{number:04x}") +
                  bytes([LOSS_OF_SIGNAL, 1, 1, 0])) for number in range(INVENTED)]


@pytest.mark.long
@pytest.mark.timeout(400)
def test_invented_alarms_of_a_card_displace_no_alarm_of_another(chassis):
    chassis("1,2", "--onus", "1", "--configured")
    before, later = ("Temperature", "OLT Port: NNI-0"), ("Temperature", "OLT Port: NNI-1")
    control("alarm", "2/nni-0", "Temperature", "raise")
    wait_for(lambda: alarms("list", "--active") == [before], 30, "the first alarm of slot 2 is shown")
    assert send(invented_alarms(), 600, 5.5) > INVENTED
    wait_for(lambda: ask("dbman", "status")["alarms_displaced"] > 0, 60, "more are invented than there is room for")
    control("alarm", "2/nni-1", "Temperature", "raise")
    wait_for(lambda: alarms("list", "--active") == [before, later], 60,
             lambda: f"both alarms of slot 2 are active: {alarms('list')}")
    assert alarms("history") == [before, later]
    assert ask("dbman", "status")["malformed"] == 0
    assert len(ask("dbman", "alarm", "list", "--slot", "1")["alarms"]) == 2048


def kept_alarms():
    """How many rows of alarms dbman keeps of slot 1."""
    with sqlite3.connect("file:/tmp/state/ponmgr/dbman.db?mode=ro", uri=True, timeout=30) as database:
        return database.execute("SELECT count(*) FROM alarm_events WHERE slot_id = 1").fetchone()[0]


@pytest.mark.long
@pytest.mark.timeout(600)
def test_dbman_answers_and_tidies_up_while_alarms_come_faster_than_it_may_keep_them(chassis):
    most = 1000
    chassis("1,2", "--onus", "1", "--configured", manager=("--retain", f"alarm-events=90d,{most}"))
    flood_of_alarms = sending(invented_alarms(), 300, 100)
    counts, longest = [], 0
    while flood_of_alarms.is_running():
        asked = time.monotonic()
        rows = ask("dbman", "alarm", "history", "--slot", "1", "--limit", "20")["events"]
        longest = max(longest, time.monotonic() - asked)
        assert len(rows) == 20 or kept_alarms() < 20
        counts.append(kept_alarms())
        time.sleep(0.5)
    assert sent_by(flood_of_alarms) > 20 * most
    print(f"answers within {longest:.1f} s; rows kept: {counts}")
    assert longest < 10
    # what comes within the minute goes beyond the number, and then goes
    assert max(counts) > 2 * most
    assert any(later < sooner - most for sooner, later in zip(counts, counts[1:]))
    control("alarm", "2/nni-0", "Temperature", "raise")
    wait_for(lambda: alarms("history") == [("Temperature", "OLT Port: NNI-0")], 120, "slot 2's alarm is kept")
    wait_for(lambda: kept_alarms() <= most, 150, lambda: f"{kept_alarms()} rows are kept", 1)
