"""What ./bench makes of samples of the daemon: on samples made up by hand."""

import sys

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite.cases import box  # noqa: E402
from benchmarks.suite.journal import Datagram  # noqa: E402
from benchmarks.suite.processes import Sample  # noqa: E402

MEBIBYTE = 1 << 20


def window(began=0.0, ended=33.0, cpu=0.001, resident=10.0):
    return box.Window(began, ended, {"cpu": cpu, "children_cpu": 0.004, "switches": 30.0, "wake_ups": 20.0,
                                     "faults": 1.5}, int(resident * MEBIBYTE))


def figures(*windows, readings=(), steady=True):
    rows = box.figures("full", windows, 28, list(readings), steady)
    return {row.what.removeprefix("full: "): row for row in rows}


# A window.


def played_window(monkeypatch, quick):
    samples = iter([Sample(1.0, 2.0, 300, 200, 50), Sample(1.5, 4.0, 700, 300, 90)])
    clock = {"now": 500.0}
    monkeypatch.setattr(box.processes, "sample", lambda pid: {4711: next(samples)}[pid])
    monkeypatch.setattr(box.processes, "resident_bytes", lambda pid: pid * 1000)
    monkeypatch.setattr(box.time, "sleep", lambda seconds: clock.update(now=clock["now"] + 2 * seconds))
    monkeypatch.setattr(box.time, "monotonic", lambda: clock["now"])
    monkeypatch.setattr(box.time, "time", lambda: clock["now"] + 1000)
    bench = type("Bench", (), {"pick": lambda self, full, fast: fast if quick else full})()
    return box.window(4711, bench)


def test_a_window_tells_what_was_taken_in_each_second_that_really_passed(monkeypatch):
    one = played_window(monkeypatch, quick=True)
    assert one.rates == {"cpu": 0.125, "children_cpu": 0.5, "switches": 100.0, "wake_ups": 25.0, "faults": 10.0}
    assert (one.began, one.ended, one.resident) == (1500.0, 1504.0, 4711000)


def test_a_window_is_long_enough_for_a_round_of_levels(monkeypatch):
    one = played_window(monkeypatch, quick=False)
    assert (one.ended - one.began) / 2 >= 33


def test_readings_are_counted_in_their_window_and_for_each_onu():
    def asked(moment, message=585, direction="in"):
        return Datagram(1, direction, moment, message, 0)
    datagrams = [asked(9.9), *[asked(10.0)] * 64, *[asked(19.9)] * 16, asked(20.0, 585), asked(15.0, 388),
                 asked(15.0, direction="out")]
    windows = [window(10.0, 20.0), window(20.0, 30.0), window(30.0, 40.0)]
    assert box.readings_in(windows, datagrams, 8) == [80 / 64, 1 / 64, 0.0]


# Its figures.


def test_figures_have_their_units():
    rows = figures(window(), window(cpu=0.003, resident=12.5))
    assert {what: (row.runs, row.unit) for what, row in rows.items()} == {
        "resident memory": ([10.0, 12.5], "MiB"),
        "processor time, of one core": ([pytest.approx(0.1), pytest.approx(0.3)], "%"),
        "processor time of its pings": ([0.4, 0.4], "%"),
        "wake-ups a second": ([20.0, 20.0], ""),
        "context switches a second": ([30.0, 30.0], ""),
        "page faults a second": ([1.5, 1.5], "")}


def test_full_cards_have_goals_for_memory_and_processor_time():
    rows = figures(window())
    assert {what: row.goal() for what, row in rows.items() if row.goal()} == {
        "resident memory": "at most 24.0", "processor time, of one core": "at most 1.00"}


def test_smaller_states_have_no_goals():
    assert [row.is_met() for row in figures(window(), steady=False).values()] == [None] * 6


@pytest.mark.parametrize("taken, what", [({"resident": 24.1}, "resident memory"),
                                         ({"cpu": 0.0101}, "processor time, of one core")])
def test_a_daemon_that_takes_too_much_misses_its_goal(taken, what):
    met = {name: row.is_met() for name, row in figures(window(**taken)).items()}
    assert [name for name, is_met in met.items() if is_met is False] == [what]


def test_it_is_told_how_often_levels_were_read_and_how_many_threads_there_are():
    rows = figures(window(), window(), window(), readings=[1.0, 2.0, 1.5])
    assert rows["processor time, of one core"].details == {"levels read, times": 1.5}
    assert rows["resident memory"].details == {"threads": 28}
    assert figures(window())["processor time, of one core"].details == {}


# When a measurement may begin.


class PlayedManager:
    """Gives one list of messages after the other, and says how many were looked at."""

    def __init__(self, *steps):
        self.steps = steps
        self.calls = []

    def bind_daemon(self):
        self.calls.append("bind")

    def give_addresses(self):
        self.calls.append("addresses")

    def news(self):
        return []

    def wait_until(self, predicate, limit, what):
        self.calls.append(next((number for number, news in enumerate(self.steps) if predicate(news)), None))


def report(mac, gigabit="1", power="-14.20", uri="/onu/new"):
    return 1.0, uri, {"mac_address": mac, "is_gigabit": gigabit, "tx_power_input": power}


def test_it_is_measured_when_the_levels_of_every_onu_have_been_read():
    macs = [f"00:{number:02x}" for number in range(16)]
    most = [report(mac) for mac in macs[:15]]
    manager = PlayedManager(most, [*most, most[0]], [*most, report(macs[15], power="-")],
                            [*most, report(macs[15], gigabit="0")], [*most, (1.0, "/olt/new", {})],
                            [*most, report(macs[15])])
    box.settle(manager, 2)
    assert manager.calls == ["bind", "addresses", 5]
