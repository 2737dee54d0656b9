"""A whole run of the product under valgrind's memcheck: bring-up, provisioning, alarms, commands and a reset.

Each of the three programs is the released one. No error may be found in any, and nothing be lost; there
are no suppressions but those that valgrind brings along for the C library.
"""

import os
import re
import signal
import subprocess
from pathlib import Path

import pytest

from support.process import Process
from support.product import ask, control, inventory, program, wait_for_agreement, wait_in_service
from support.waiting import wait_for

pytestmark = [pytest.mark.memcheck, pytest.mark.long, pytest.mark.timeout(900)]

SLOTS = "1,2"
FOUND = 99
MEMCHECK = ["valgrind", "--tool=memcheck", "--leak-check=full", "--show-leak-kinds=definite",
            "--errors-for-leak-kinds=definite", "--track-fds=no", "--child-silent-after-fork=yes",
            f"--error-exitcode={FOUND}"]


def log_of(name):
    return Path(f"/tmp/{name}.memcheck")


@pytest.fixture
def checked():
    """Starts a program under memcheck; shows what was found, and ends it when the test has failed."""
    started = []

    def start(name, *arguments):
        process = Process(name, [*MEMCHECK, f"--log-file={log_of(name)}", program(name), *arguments])
        started.append(process)
        return process

    yield start
    for process in reversed(started):
        process.stop()
        print(f"--- {process.name}:\n{process.output()[-3000:]}\n{log_of(process.name).read_text()}")


def assert_nothing_found(process):
    """Ends the program by SIGTERM and reads what memcheck says of its whole life."""
    os.kill(process.pid, signal.SIGTERM)
    status = process.wait_for_end(120)
    told = log_of(process.name).read_text()
    assert status in (0, -signal.SIGTERM), told
    assert re.findall(r"ERROR SUMMARY: (\d+) errors from (\d+) contexts", told) == [("0", "0")], told
    lost = re.findall(r"definitely lost: ([\d,]+) bytes", told)
    assert lost == ["0"] or (not lost and "no leaks are possible" in told), told


def all_in_service():
    wait_in_service("240s")
    wait_for_agreement(120)


def alarm_states():
    return {(alarm["alarm"], alarm["state"]) for alarm in ask("dbman", "alarm", "list")["alarms"]}


def alarms_come_and_go():
    control("alarm", "1/nni-0", "Temperature", "raise")
    wait_for(lambda: ("Temperature", "raised") in alarm_states(), 60)
    control("alarm", "1/nni-0", "Temperature", "clear")
    wait_for(lambda: ("Temperature", "cleared") in alarm_states(), 60)
    control("onu", "1/0/0", "power-off")
    wait_for(lambda: len(inventory()[1]) == 7, 60)
    control("onu", "1/0/0", "power-on")
    control("onu", "1/1/0", "move", "0")
    wait_for(lambda: ("1", "0", "00:0d:b6:01:01:00") in inventory()[1], 60)


def commands_are_carried_out():
    ask("dbman", "onu", "vlan", "00:0d:b6:02:00:01", "100")
    wait_for(lambda: control("onu", "2/0/1", "get")["settings"]["port_vlan"], 60)
    ask("dbman", "port", "vlan", "2/0", "200")
    wait_for(lambda: control("card", "2", "get")["rule_ports"][0]["rules"], 60)
    ask("dbman", "port", "vlan", "2/0", "--remove")
    wait_for(lambda: not control("card", "2", "get")["rule_ports"][0]["rules"], 60)
    ask("dbman", "onu", "reset", "00:0d:b6:02:00:00")
    ask("dbman", "slot", "disable", "2")
    wait_for(lambda: not control("card", "2", "get")["enabled"], 60)
    ask("dbman", "slot", "enable", "2")
    ask("dbman", "onu", "remove", "00:0d:b6:02:01:00", "--slot", "2")
    ask("dbman", "send", "/no/such/command", "slot_id=2")
    ask("dbman", "send", "/slot/enable", "slot_id=none")
    for words in (["card", "list"], ["alarm", "history"], ["optics", "00:0d:b6:02:00:01"],
                  ["events"], ["status"], ["slot", "list"]):
        ask("dbman", *words)


def wire_is_bad_for_a_while():
    for kind, *options in (["truncate", "--bytes", "4"], ["wrong-length"], ["flip-bit"], ["wrong-id"],
                           ["garbage", "--rate", "20"]):
        control("fault", "add", kind, "--card", "2", "--count", "3", *options)
    control("onu", "2/1/1", "unplug")
    control("onu", "2/1/1", "plug")
    wait_for(lambda: all(fault["state"] == "ended" for fault in control("fault", "list")["faults"]), 120)


def a_card_restarts():
    resets = control("card", "2", "get")["resets"]
    ask("dbman", "slot", "reset", "2")
    wait_for(lambda: control("card", "2", "get")["resets"] > resets, 60)


def test_a_whole_run_has_no_memory_error_and_loses_nothing(checked, monkeypatch):
    monkeypatch.setenv("XDG_STATE_HOME", "/tmp/state")
    simulator = checked("chassis-sim", "--slots", SLOTS, "--onus", "2", "--seed", "1", "--reset-time", "1s")
    simulator.wait_for_line("chassis-sim ready", 60)
    manager = checked("dbman", "serve", "--slots", SLOTS)
    manager.wait_for_line("dbman ready", 60)
    daemon = checked("ponmgrd")
    all_in_service()
    alarms_come_and_go()
    commands_are_carried_out()
    all_in_service()
    wire_is_bad_for_a_while()
    a_card_restarts()
    all_in_service()
    for process in (daemon, manager, simulator):
        assert_nothing_found(process)


def test_memcheck_finds_what_is_lost():
    """The check above can fail: a program that loses what it took is found out."""
    source = Path("/tmp/loser.cpp")
    source.write_text("int main() { new int[10]; new int(1); return 0; }\n")
    built = source.with_suffix("")
    subprocess.run(["g++", "-O0", "-o", built, source], check=True)
    loser = Process("loser", [*MEMCHECK, f"--log-file={log_of('loser')}", built])
    assert loser.wait_for_end(60) == FOUND
    assert "definitely lost: 44 bytes in 2 blocks" in log_of("loser").read_text()
