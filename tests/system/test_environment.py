"""The machine around the daemon: addresses, clocks, descriptors and memory that go away and come back,
and peers that stop."""

import os
import resource
import subprocess
import sys
import time
from datetime import datetime
from pathlib import Path

import pytest

from support import flood, namespace, recovery
from support.alarms import counted_as_lost, reported
from support.card import (GET_DOMAINS, GET_OLT_INFORMATION, REPORT_ALARM, Card, event, olt_information,
                          response)
from support.clock import WallClock
from support.measures import Journal, dropped_at, repeated, resident, resting_descriptors, with_overhead
from support.measures import descriptors as open_descriptors
from support.memory import MemoryShortage
from support.process import Process, halted
from support.product import agree, ask, control, inventory, wait_for_agreement, wait_in_service
from support.simulator import datagrams, journal_since, request
from support.vlan_commands import commands_told
from support.waiting import wait_for, wait_until_it_is

LONG = (pytest.mark.long, pytest.mark.timeout(400))
SOURCE = "10.77.0.1"
ONU = "00:0d:b6:01:00:01"  # 1/0/1
HOUR = 3600
MORE_MEMORY = 32  # MiB


def set_vlan(vlan):
    ask("dbman", "onu", "vlan", ONU, str(vlan))


def wait_for_vlan(vlan, limit=60):
    wait_for(lambda: control("onu", "1/0/1", "get")["vlan"] == vlan, limit, f"the ONU's VLAN is {vlan}")


def all_in_service(but=0):
    """All cards, and all ONUs of each but so many."""
    return all(row["state"] == "in-service" and row["onus_provisioned"] + but >= row["onus_total"]
               for row in control("list")["cards"])


def assert_nothing_grows(daemon, seconds, memory, descriptors):
    """For so many seconds the daemon takes no more than this memory and these descriptors, apart from what
    is bounded: a little of the one, and of the other two for each slot's probe."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        assert resident(daemon.pid) < memory + MORE_MEMORY
        assert len(open_descriptors(daemon.pid)) <= len(descriptors) + 2 * 8
        time.sleep(0.5)


# --- the daemon's own address ---

def address(action):
    subprocess.run(["ip", "address", action, f"{SOURCE}/32", "dev", "lo"], check=True)


def test_an_address_that_goes_for_a_while_costs_no_command(chassis):
    address("add")
    _, _, daemon = chassis("1,2", "--onus", "2", "--configured", manager=("--source", SOURCE))
    before = wait_for(lambda: resting_descriptors(daemon.pid), 60)
    address("del")
    journal = Journal()
    set_vlan(77)
    time.sleep(6)  # its first try, and perhaps a second, can't leave
    assert journal.requests("1") == []
    address("add")
    wait_for_vlan(77, 20)
    control("onu", "2/0/0", "unplug")
    wait_for(lambda: len(inventory()[1]) == 7, 60)
    wait_for_agreement()
    assert wait_for(lambda: resting_descriptors(daemon.pid), 60) == before


def test_an_address_that_goes_in_the_midst_of_a_bring_up_is_waited_for(chassis):
    address("add")
    _, _, daemon = chassis("1,2", "--onus", "2", "--reset-time", "500ms", "--latency", "20ms", agree=False,
                           manager=("--source", SOURCE))
    wait_for(lambda: "Set Path" in {entry["name"] for entry in control("journal", "--card", "1")["entries"]})
    address("del")
    journal = Journal()
    time.sleep(7)
    assert journal.requests("1") + journal.requests("2") == []
    address("add")
    wait_in_service("60s")
    wait_for_agreement(30)
    assert daemon.is_running()


@pytest.mark.parametrize("seconds", [11, pytest.param(40, marks=LONG)])
def test_an_address_that_goes_while_onus_are_provisioned_is_recovered_from_in_time(chassis, seconds):
    address("add")
    _, _, daemon = chassis("1,2", "--onus", "12", "--reset-time", "500ms", "--latency", "20ms",
                           agree=False, manager=("--source", SOURCE))
    for slot in (1, 2):
        wait_for(lambda: "Set Link SLA" in {entry["name"] for entry in journal_since(0, slot)}, 60)
    address("del")
    journal = Journal()
    memory, descriptors = resident(daemon.pid), wait_for(lambda: resting_descriptors(daemon.pid), 60)
    assert_nothing_grows(daemon, seconds, memory, descriptors)
    assert journal.requests("1") + journal.requests("2") == []
    provisioned = [(row["onus_provisioned"], row["onus_total"]) for row in control("list")["cards"]]
    assert all(some < total for some, total in provisioned), provisioned
    address("add")
    # each step that has failed meanwhile is lost to its ONU
    lost = seconds // (recovery.TRIES * recovery.TRY)
    wait_for(lambda: agree() and all_in_service(but=lost), recovery.RESTART, lambda: control("list")["cards"], 0.5)
    if lost:
        ask("dbman", "slot", "announce", "all")
    # passes of 24 ONUs at a slow card take longer
    wait_for(lambda: agree() and all_in_service(), 2 * recovery.ANNOUNCEMENT, lambda: control("list")["cards"], 0.5)
    assert len(inventory()[1]) == 48
    assert wait_for(lambda: resting_descriptors(daemon.pid), 60) == descriptors


@pytest.mark.parametrize("seconds", [11, pytest.param(40, marks=LONG)])
def test_the_address_of_one_slots_probes_goes_and_no_slot_is_disturbed(chassis, seconds):
    """The UDP socket has the address that was told first; another one is that of its slot's probes alone."""
    address("add")
    _, _, daemon = chassis("1-3", "--onus", "2", "--configured")
    ask("dbman", "slot", "set", "2", "--ip", "127.0.1.2", "--source", SOURCE)
    wait_in_service()
    wait_for_agreement(60)
    before = wait_for(lambda: resting_descriptors(daemon.pid), 60)
    address("del")
    journal = Journal()
    memory = resident(daemon.pid)
    control("onu", "2/0/0", "unplug")
    assert_nothing_grows(daemon, seconds, memory, before)
    wait_for_agreement(30)
    assert [repeated(journal.requests(slot)) for slot in ("1", "2", "3")] == [[], [], []]
    assert len(inventory()[0]) == 3, "a probe that can't be made takes no card for dead"
    assert daemon.count("ping: bind: Cannot assign requested address") >= 1
    address("add")
    pinged = namespace.pings_answered()
    wait_for(lambda: namespace.pings_answered() >= pinged + 3, 30, "all three are probed again")
    assert wait_for(lambda: resting_descriptors(daemon.pid), 60) == before


def test_an_address_that_isnt_there_yet_is_tried_every_second(chassis):
    _, _, daemon = chassis("1", "--onus", "1", "--configured", agree=False, manager=("--source", SOURCE))
    wait_for(lambda: daemon.count("]: Failed to bind socket") >= 3, 30)
    assert daemon.count("bind failed: Cannot assign requested address") >= 3
    address("add")
    wait_for_agreement(30)


# --- peers that stop ---

def burst(rate, seconds, cards=1):
    """Lets the first cards raise and clear an alarm, each so often a second; returns how often they will."""
    for card in range(1, cards + 1):
        control("fault", "add", "event-burst", "--card", str(card), "--rate", str(rate), "--count",
                str(rate * seconds))
    return rate * seconds * cards


def wait_for_bursts_end(limit):
    wait_for(lambda: all(fault["state"] == "ended" for fault in control("fault", "list")["faults"]), limit)


@pytest.mark.parametrize("seconds, rate, cards",
                         [(8, 500, 1), pytest.param(60, 1000, 4, marks=(pytest.mark.long, pytest.mark.timeout(900)))])
def test_a_database_manager_that_stops_gets_all_that_is_not_counted_as_lost(chassis, freed_memory, seconds,
                                                                            rate, cards):
    """The long one goes past the 16 MiB that wait for the database manager."""
    _, manager, daemon = chassis("1-4", "--onus", "2", "--configured")
    memory, dropped = resident(daemon.pid), dropped_at("127.0.0.1")
    descriptors = wait_for(lambda: resting_descriptors(daemon.pid), 60)
    before = reported("Report Timeout")
    with halted(manager):
        # and one alarm of the ONU that leaves
        sent = burst(rate, seconds, cards) + 1
        wait_for_bursts_end(seconds * 2 + 30)
        control("onu", "2/0/0", "unplug")
        # sixteen MiB of notifications, and what they are made from
        assert resident(daemon.pid) < memory + with_overhead(160)

    def known():
        return (reported() + reported("Report Timeout") - before + counted_as_lost(daemon) +
                dropped_at("127.0.0.1") - dropped)

    wait_until_it_is(known, sent, what=lambda: f"{sent} were sent, {known()} are known, "
                                               f"{counted_as_lost(daemon)} of them as lost")
    lost = counted_as_lost(daemon)
    print(f"{sent} alarms: {reported()} reported, {lost} lost")
    assert (lost > 0) == (cards > 1)
    if daemon.count("events of slot 2 lost"):
        # the ONU's alarm may have been one of them
        ask("dbman", "slot", "announce", "2")
    wait_for_agreement(60)
    assert len(inventory()[1]) == 15
    wait_for(lambda: resident(daemon.pid) < memory + with_overhead(64), 60,
             lambda: f"{resident(daemon.pid)} MiB, after {memory} before")
    assert wait_for(lambda: resting_descriptors(daemon.pid), 60) == descriptors


def test_a_database_manager_killed_in_a_storm_gets_what_comes_after_its_restart(chassis, processes):
    _, manager, daemon = chassis("1,2", "--onus", "2", "--configured")
    burst(500, 6)
    wait_for(lambda: reported() > 200, 30)
    manager.kill()
    daemon.wait_for_line("nobody listens there", 30)
    again = processes("dbman", "serve")
    again.wait_for_line("dbman ready")
    wait_for_bursts_end(60)
    ask("dbman", "slot", "announce", "all")
    wait_for_agreement(60)
    lost = daemon.count("nobody listens there")
    control("alarm", "1/nni-0", "Temperature", "raise")
    wait_for(lambda: reported("Temperature") == 1)
    assert daemon.count("nobody listens there") == lost


def test_a_chassis_that_stops_costs_no_command_and_no_card(chassis):
    simulator, _, daemon = chassis("1,2", "--onus", "2", "--configured")
    with halted(simulator):
        set_vlan(77)
        time.sleep(8)  # two tries at least are unanswered
        assert len(inventory()[0]) == 2
    wait_for_vlan(77, 20)
    wait_for_agreement(30)
    control("onu", "2/0/0", "unplug")
    wait_for(lambda: len(inventory()[1]) == 7, 60)
    assert daemon.is_running()


@pytest.mark.parametrize("seconds, commands", [(8, 50), pytest.param(60, 1200, marks=LONG)])
def test_a_chassis_that_stops_makes_nothing_grow_and_is_recovered_from_in_time(chassis, freed_memory, seconds,
                                                                               commands):
    simulator, _, daemon = chassis("1,2", "--onus", "2", "--configured", "--journal", "200000")
    memory, descriptors = resident(daemon.pid), wait_for(lambda: resting_descriptors(daemon.pid), 60)
    since = datagrams()
    with halted(simulator):
        for vlan in range(1, commands + 1):
            request("/tmp/dbman.ctl", command="onu vlan", mac=ONU, vlan=str(vlan))
        assert_nothing_grows(daemon, seconds, memory, descriptors)
        assert len(inventory()[0]) == 2
    control("onu", "2/0/0", "unplug")
    wait_for(lambda: agree() and all_in_service(but=1) and len(inventory()[1]) == 7, recovery.RESTART,
             lambda: control("list")["cards"], 0.5)
    # a slot's queue takes 1,024 commands; each of the others has its line
    refused = daemon.count("Too many commands wait for slot 1")
    assert (refused > 0) == (commands > 1024)
    taken = commands - refused

    def told():
        return [command.vlan for command in commands_told(journal_since(since, 1))]

    wait_for(lambda: len(told()) >= taken, 60, told)
    assert told() == sorted(set(told())) and len(told()) == taken
    assert told()[:1024] == list(range(1, min(taken, 1024) + 1))
    wait_for_vlan(told()[-1])
    assert wait_for(lambda: resting_descriptors(daemon.pid), 60) == descriptors
    wait_for(lambda: resident(daemon.pid) < memory + MORE_MEMORY, 30)


# --- the clock ---

@pytest.fixture
def clock(monkeypatch):
    return WallClock(Path("/tmp"), monkeypatch.setenv)


def reported_time(card, peer):
    """When the daemon says that an alarm came."""
    before = len(peer.messages("/olt/alarm/new"))
    card.send_event(event(REPORT_ALARM, bytes([5]) + bytes.fromhex("000db6000001") + bytes([0, 2, 17, 1, 1, 0])))
    wait_for(lambda: len(peer.messages("/olt/alarm/new")) > before)
    row, = peer.messages("/olt/alarm/new")[-1]["data"]["alarm_list"]
    return datetime.strptime(row["datetime"], "%d/%m/%Y %H:%M:%S")


@pytest.mark.parametrize("shift", [HOUR, -HOUR])
def test_a_clock_that_is_set_in_an_exchange_lengthens_no_wait(clock, card, daemon, peer, shift):
    inserted = Card(1, marked=True)
    asked = []

    def silent_at_first(answering, request):
        asked.append(request)
        # set in the midst of a wait, and back in the second one
        time.sleep(0.5)
        clock.shift(shift if len(asked) == 1 else 0)
        return [] if len(asked) < 3 else [response(request, olt_information(1))]

    inserted.rules[GET_OLT_INFORMATION] = silent_at_first
    witness = card(2, product="3724")
    peer.address(1)
    peer.wait_for("/olt/new", 1, matching=lambda data: data["mac_address"])
    assert len({request.ctag for request in asked}) == 1 and len(asked) == 3
    for earlier, later in zip(asked, asked[1:]):
        assert 3.5 < later.time - earlier.time < 8
    inserted.wait_for(GET_DOMAINS)
    clock.shift(shift)
    ahead = (reported_time(inserted, peer) - datetime.now()).total_seconds()
    assert abs(ahead - shift) < 60, "the shift is in force"
    times = [request.time for request in witness.of(GET_OLT_INFORMATION)]
    assert len(times) > 8 and max(b - a for a, b in zip(times, times[1:])) < 3.5
    assert [line for line in daemon.texts() if not line.startswith("ping: ")] == []


# --- descriptors ---

def limit_descriptors(process, most):
    _, hard = resource.prlimit(process.pid, resource.RLIMIT_NOFILE)
    resource.prlimit(process.pid, resource.RLIMIT_NOFILE, (most, hard))


def close_socket():
    """A datagram of less than a header has the daemon close its socket and open a new one."""
    Process("flood", [sys.executable, flood.__file__, "--from", "127.0.1.1:14113", "--to",
                      "127.0.0.1:14113", "--rate", "100", "--seconds", "0.2", "--frames", "short"]
            ).wait_for_end()


def test_without_free_descriptors_no_card_is_lost_and_the_socket_comes_back(chassis):
    _, _, daemon = chassis("1,2", "--onus", "2", "--configured")
    # With descriptors, first. The sanitizer looks at each type of object once, and needs some for it.
    close_socket()
    set_vlan(76)
    wait_for_vlan(76)
    before = wait_for(lambda: resting_descriptors(daemon.pid), 60)
    limit_descriptors(daemon, 3)
    set_vlan(77)
    wait_for_vlan(77)
    close_socket()
    wait_for(lambda: daemon.count("]: Failed to create UDP socket") >= 3)
    assert daemon.count("socket failed: Too many open files") >= 3
    pinged = namespace.pings_answered()
    time.sleep(11)  # every card's probe was due
    assert namespace.pings_answered() == pinged, "no probe could be started"
    assert len(inventory()[0]) == 2, "which takes no card for dead"
    limit_descriptors(daemon, 1024)
    set_vlan(78)
    wait_for_vlan(78)
    wait_for(lambda: namespace.pings_answered() > pinged, 30)
    wait_for_agreement(60)
    assert wait_for(lambda: resting_descriptors(daemon.pid), 60) == before


# --- memory ---

ALL_ONUS = 8 * 2 * 62


def full_chassis(chassis, *before):
    """Eight cards of 124 ONUs; a thread's stack is as large as the limit says, and all of them count."""
    started = chassis("1-8", "--onus", "62", "--configured", agree=False,
                      before=("/usr/bin/prlimit", "--stack=524288", *before))
    wait_in_service("120s")
    wait_for_agreement(60)
    assert len(inventory()[1]) == ALL_ONUS
    return started.daemon


def storm_of_all_cards(seconds):
    control("fault", "add", "event-burst", "--card", "all", "--rate", "500", "--count",
            str(8 * 500 * seconds))


def assert_goes_on(daemon):
    control("onu", "3/0/0", "unplug")
    wait_for(lambda: len(inventory()[1]) == ALL_ONUS - 1, 60)
    wait_for_agreement(60)
    set_vlan(77)
    wait_for_vlan(77)
    assert daemon.is_running()


@pytest.mark.shipped
@pytest.mark.parametrize("kind", [pytest.param("data", marks=LONG), "as"])
def test_ponmgrd_lives_in_64_mib_through_a_storm(chassis, kind):
    daemon = full_chassis(chassis, f"--{kind}={64 << 20}")
    storm_of_all_cards(5)
    wait_for_bursts_end(60)
    assert_goes_on(daemon)
    assert daemon.texts() == []


def every_kind_of_work():
    """Events, answers, and commands of all sizes, for a moment."""
    control("fault", "add", "event-burst", "--card", "all", "--rate", "40", "--count", str(8 * 40))
    for slot in range(1, 9):
        ask("dbman", "slot", "announce", str(slot))
        ask("dbman", "port", "vlan", f"{slot}/0", "76")
    set_vlan(76)
    time.sleep(0.25)


@pytest.fixture
def without_memory(chassis, monkeypatch):
    """The product, and how to deny its daemon memory; at the end it has some again, and all is as it should be."""
    memory = MemoryShortage("ponmgrd", Path("/tmp"), monkeypatch.setenv)
    daemon = chassis("1-8", "--onus", "4", "--configured").daemon
    yield daemon, memory
    memory.end()
    assert daemon.is_running()
    wait_for_bursts_end(60)
    ask("dbman", "slot", "announce", "all")
    wait_in_service("60s")
    wait_for_agreement(60)
    control("onu", "3/0/0", "unplug")
    wait_for(lambda: len(inventory()[1]) == 8 * 2 * 4 - 1, 60)
    set_vlan(77)
    wait_for_vlan(77)
    assert daemon.is_running()


@pytest.mark.shipped
def test_each_thread_of_ponmgrd_goes_on_without_memory(without_memory):
    daemon, memory = without_memory
    for threads, line in (("-ping", "Unknown Error at pingLoop"),
                          ("-task", "Unknown Error at taskLoop"),
                          ("-main", "Unknown Error at doRequestOltEponMac"),
                          ("tk-receive", "Unknow Exception on SocketHelper::processRxQueue"),
                          ("ipc-receive", "threadWorker[129]-Error: no memory for the operation"),
                          ("ipc-notify", "threadNotifyWorker[100]: Unexpected exception")):
        memory.deny(1, threads)
        wait_for(lambda line=line: every_kind_of_work() or daemon.count(line) > 0, 60, daemon.output)
        memory.end()


@pytest.mark.shipped
@pytest.mark.parametrize("one_in", [20, *(pytest.param(number, marks=LONG) for number in (1, 2, 5, 100, 1000))])
def test_ponmgrd_without_memory_goes_on_when_there_is_some_again(without_memory, one_in):
    daemon, memory = without_memory
    memory.deny(one_in)
    control("card", "5", "pull")
    end = time.monotonic() + 15
    while time.monotonic() < end:
        every_kind_of_work()
    control("card", "5", "insert")
    assert memory.denied() > 8 and daemon.texts() != []


@pytest.mark.shipped
def test_dbman_that_ends_for_lack_of_memory_is_right_again_when_it_is_started_again(chassis, processes, monkeypatch):
    memory = MemoryShortage("dbman", Path("/tmp"), monkeypatch.setenv)
    _, manager, daemon = chassis("1,2", "--onus", "2", "--configured")
    memory.deny(1)
    control("onu", "1/0/1", "unplug")
    manager.wait_for_termination()
    memory.end()
    processes("dbman", "serve").wait_for_line("dbman ready")
    wait_for_agreement(60)
    assert len(inventory()[1]) == 7
    assert daemon.is_running()
