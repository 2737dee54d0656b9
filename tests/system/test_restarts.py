"""The daemon and the database manager are killed or stopped; the other one goes on, no ONU in service is
disturbed, and the inventory is right again without anybody's help."""

import json
import os
import select
import signal
import socket
from pathlib import Path

from support.product import ask, control, inventory, wait_for_agreement, wait_in_service
from support.restarted import disturbing
from support.simulator import datagrams, journal_since
from support.waiting import wait_for

SLOTS = ("1", "2")


def halt(process):
    """Stops the process; none of its threads does anything any more."""
    os.kill(process.pid, signal.SIGSTOP)
    tasks = Path(f"/proc/{process.pid}/task")
    wait_for(lambda: all((task / "stat").read_text().rsplit(")", 1)[1].split()[0] == "T"
                         for task in tasks.iterdir()))


def cards_settings():
    """All that a configuration would set anew, and the resets that it would take."""
    cards = [control("card", slot, "get") for slot in SLOTS]
    return [(card["settings"], card["paths"], card["resets"]) for card in cards]


def onus():
    return [(onu["onu"], onu["state"], onu["provisioned"]) for onu in control("onu", "list")["onus"]]


def onus_of(slot):
    return [control("onu", row["onu"], "get") for row in control("onu", "list")["onus"] if str(row["slot"]) == slot]


def times_listed(since, slot):
    """How often the slot's card was asked for its ONUs."""
    return len([entry for entry in journal_since(since, int(slot))
                if (entry["name"], entry["direction"]) == ("Get List of Discovered Links", "in")])


def lost_onus():
    """The MAC addresses of those whose alarm says that they don't report."""
    return {alarm["resource"].removeprefix("ONU Link: ")
            for alarm in ask("dbman", "alarm", "list", "--active")["alarms"]
            if alarm["alarm"] in ("Report Timeout", "Standard Dying Gasp")}


def ask_dbman(command, **members):
    """Sends a request to the control socket; the connection on which its answer will come."""
    connection = socket.socket(socket.AF_UNIX)
    connection.settimeout(30)
    connection.connect("/tmp/dbman.ctl")
    connection.sendall(json.dumps({"command": command, **members}).encode() + b"\n")
    return connection


def fill_the_daemons_queue():
    """With commands that do nothing, until it takes no further one."""
    nothing = json.dumps({"action": "set", "uri": "/nothing", "data": {"slot_id": "1"}}).encode()
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sender:
        try:
            while sender.sendto(nothing, socket.MSG_DONTWAIT, "/tmp/dbpman.ipc"):
                pass
        except BlockingIOError:
            pass


def test_a_killed_database_manager_keeps_its_inventory_and_learns_what_it_has_missed(chassis, processes):
    _, manager, daemon = chassis("1,2", "--onus", "4", "--configured")
    settings, in_service = cards_settings(), onus()
    control("onu", "1/1/2", "unplug")
    wait_for(lambda: lost_onus() == {"00:0d:b6:01:01:02"})
    control("fault", "add", "event-burst", "--card", "1", "--rate", "200", "--count", "300")
    manager.kill()
    # Told to nobody: one goes, one comes back.
    control("onu", "2/0/1", "unplug")
    control("onu", "1/1/2", "plug")
    wait_for(lambda: not control("onu", "2/0/1", "get")["known"])
    wait_in_service()
    again = processes("dbman", "serve")
    again.wait_for_line("a daemon runs already; it is to report everything anew")
    assert daemon.is_running()
    wait_for_agreement(60)
    assert len(inventory()[1]) == 15
    assert all(card["reported_since_start"] for card in ask("dbman", "card", "list")["cards"]
               if card["slot_id"] in SLOTS)
    assert lost_onus() == set()
    control("onu", "2/0/1", "plug")
    wait_for_agreement(60)
    wait_in_service()
    assert onus() == in_service
    assert cards_settings() == settings


def test_a_daemon_that_does_not_read_keeps_only_those_waiting_who_send_to_it(chassis):
    _, _, daemon = chassis("1", "--onus", "1", "--configured")
    halt(daemon)
    fill_the_daemons_queue()
    sender = ask_dbman("slot enable", slot="1")
    status = ask_dbman("status")
    assert json.loads(status.recv(100000))["commands_sent"] > 0
    assert select.select([sender], [], [], 0)[0] == [], "the daemon has taken it"
    os.kill(daemon.pid, signal.SIGCONT)
    assert json.loads(sender.recv(100000)) == {"sent": [{"uri": "/slot/enable",
                                                         "data": {"slot_id": "1"}}]}


def test_a_killed_daemon_configures_nothing_anew_and_disturbs_no_onu(chassis, processes):
    _, _, daemon = chassis("1,2", "--onus", "4", "--reset-time", "1s")
    wait_in_service()
    settings, in_service = cards_settings(), onus()
    daemon.kill()
    assert onus() == in_service
    since = datagrams()
    again = processes("ponmgrd")
    wait_for(lambda: inventory()[0] == set(), 20)
    wait_for_agreement(60)
    assert onus() == in_service
    assert cards_settings() == settings
    # the daemon has looked once more whether all is still there
    wait_for(lambda: all(times_listed(since, slot) > 1 for slot in SLOTS), 60)
    for slot in SLOTS:
        assert disturbing(journal_since(since, int(slot)), onus_of(slot), set(), []) == [], f"slot {slot}"
    assert again.is_running()
