"""A reader of the log that stops reading, and goes on."""

import fcntl
import json
import socket
import sys
import termios
from pathlib import Path

from support import flood
from support.alarms import reported
from support.measures import Journal, dropped_at, repeated
from support.process import Process
from support.product import agree, ask, control, wait_for_agreement
from support.waiting import wait_for

DAEMON = "127.0.0.1"
COMMANDS = "/tmp/dbpman.ipc"
ONU = "00:0d:b6:01:00:01"  # 1/0/1
SLOT, WITNESS = "1", "2"  # the witness is a card of another make: it is asked once a pass who it is
# Report Alarm of the card's NNI port: the alarm 0xEE has no name, which costs a line and nothing else.
NAMELESS = "801a0000001100000000" "05" "000db6010203" "0000" "ee" "01" "01" "00"


LINE = "TK Report Alarm ID(238) not found"


def nameless_alarms(rate, seconds):
    Path("/tmp/alarm").write_text(NAMELESS)
    return Process("flood", [sys.executable, flood.__file__, "--to", f"{DAEMON}:14113", "--seconds", seconds,
                             "--rate", rate, "--file", "/tmp/alarm", "--from", f"127.0.1.{SLOT}:14113"])


def set_vlan(number):
    ask("dbman", "onu", "vlan", ONU, str(number))


def vlan():
    return control("onu", "1/0/1", "get")["vlan"]


def fill_the_pipe(daemon):
    """Has the slot print more than there is room for; returns how many lines that is."""
    flooding = nameless_alarms(rate=200, seconds=3)
    assert flooding.wait_for_end() == 0, flooding.output()
    wait_for(lambda: waiting_in_the_pipe(daemon) > 4000, 30, "there is no room for a line")
    return json.loads(flooding.texts()[-1])["sent"]


def waiting_in_the_pipe(process):
    return int.from_bytes(fcntl.ioctl(process.process.stdout, termios.FIONREAD, bytes(4)), sys.byteorder)


def test_a_reader_of_the_log_that_stops_holds_who_has_a_line_and_costs_nothing_when_it_goes_on(chassis):
    # An answer must not come while the daemon, on a busy machine, is about to wait for it.
    _, _, daemon = chassis("1,2", "--onus", "2", "--configured", "--latency", "50ms")
    journal, dropped = Journal(), dropped_at(DAEMON)
    control("card", WITNESS, "product-code", "3724")
    ask("dbman", "slot", "announce", WITNESS)
    wait_for(lambda: len(journal.requests(WITNESS)) > 3)

    with daemon.unread():
        sent = fill_the_pipe(daemon)
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sender:
            sender.sendto(b"nonsense", COMMANDS)
        set_vlan(77)
        control("fault", "add", "event-burst", "--card", SLOT, "--rate", "50", "--count", "100")
        wait_for(lambda: all(fault["state"] == "ended" for fault in control("fault", "list")["faults"]), 30)
        control("onu", "1/0/0", "unplug")
        passes = len(journal.requests(WITNESS))
        wait_for(lambda: len(journal.requests(WITNESS)) >= passes + 3, 30, "who has nothing to say goes on")
        assert vlan() != 77 and reported() == 0 and not agree({SLOT})
        assert daemon.is_running()

    wait_for(lambda: vlan() == 77, 60, "the command is carried out")
    wait_for(lambda: reported() == 100, 60, lambda: f"100 alarms are reported, {reported()} so far")
    wait_for_agreement(60, {SLOT})
    daemon.wait_for_line("JSON not parsed: nonsense")
    wait_for(lambda: daemon.count(LINE) == sent, 60, lambda: f"{sent} lines, {daemon.count(LINE)} so far")
    assert dropped_at(DAEMON) == dropped
    assert [repeated(journal.requests(slot)) for slot in (SLOT, WITNESS)] == [[], []]


def test_without_its_reader_the_daemon_goes_on_without_a_log(chassis):
    _, _, daemon = chassis("1", "--onus", "2", "--configured")
    with daemon.unread():
        fill_the_pipe(daemon)
        control("alarm", "1/nni-0", "Temperature", "raise")
        daemon.process.stdout.close()
    wait_for(lambda: reported("Temperature") == 1, 60)
    set_vlan(77)
    wait_for(lambda: vlan() == 77, 60)
    control("onu", "1/0/0", "unplug")
    wait_for_agreement(60)
    assert daemon.is_running()
