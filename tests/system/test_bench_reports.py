"""How ./bench finds an alarm's way to the database manager: what alarms and reports say, and which belong
together."""

import json
import socket
import sys
import time
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import alarms, journal, manager  # noqa: E402
from benchmarks.suite.cases import reports  # noqa: E402

JOURNAL = Path("/tmp/journal")
NOON = 1795435200.0  # 2026-11-23 12:00:00 UTC, in seconds since 1970

# Report Alarm: id, ctag, length, result, sequence; the target's tag and MAC, a port's number; code, state, ...
ONU_RAISED = "801a" "0000" "000f" "0000" "0001" "03" "000db6010001" "11" "01" "01" "00"
ONU_CLEARED = "801a" "0000" "000f" "0000" "0002" "03" "000db6010001" "11" "00" "01" "00"
ONU_OTHER_STATE = "801a" "0000" "000f" "0000" "0002" "03" "000db6010001" "11" "02" "01" "00"
PORT_RAISED = "801a" "0000" "0011" "0000" "0003" "05" "000db6000001" "0002" "11" "01" "01" "00"
OLT_LINK_RAISED = "801a" "0000" "000f" "0000" "0004" "07" "000db6010001" "11" "01" "01" "00"
DYING_GASP = "801a" "0000" "000f" "0000" "0005" "03" "000db6010001" "40" "01" "01" "00"
ONU_LABEL = "ONU Link: 00:0d:b6:01:00:01"


def line(seconds, direction="out", message=0x801A, frame=ONU_RAISED):
    """Of card 1's journal, so many seconds after noon."""
    return json.dumps({"number": 1, "card": 1, "direction": direction, "id": message, "ctag": 0, "hex": frame,
                       "wall": f"2026-11-23T12:00:{seconds:012.9f}Z"}) + "\n"


# What an alarm says.


def datagram(frame, wall=NOON, card=1, direction="out", message=0x801A):
    return journal.Datagram(card, direction, wall, message, 0, frame)


@pytest.mark.parametrize("frame, label, state", [
    (ONU_RAISED, ONU_LABEL, "On"), (ONU_CLEARED, ONU_LABEL, "Off"),
    (ONU_OTHER_STATE, ONU_LABEL, "Off"), (PORT_RAISED, "OLT Port: NNI-0", "On"),
    (OLT_LINK_RAISED, "OLT Link: 00:0d:b6:01:00:01", "On")])
def test_an_alarms_frame_tells_what_the_report_has_to_say(frame, label, state):
    assert alarms.sent(datagram(frame)) == alarms.Alarm(NOON, label, state)


def test_other_alarms_are_of_no_interest():
    assert alarms.sent(datagram(DYING_GASP)) is None
    row = {"alarm": "Standard Dying Gasp", "label": ONU_LABEL, "state": "On"}
    assert alarms.reported(NOON, row) is None
    assert alarms.reported(NOON, {**row, "alarm": "Loss of Signal"}) == alarms.Alarm(NOON, ONU_LABEL, "On")


# What causes them.


class PlayedBench:
    def __init__(self):
        self.told = []

    def pick(self, full, quick):
        return full

    def control(self, *words):
        self.told.append(words)


def test_single_alarms_are_as_many_as_it_says_at_every_card_in_turn_and_in_both_states(monkeypatch):
    pauses, bench = [], PlayedBench()
    monkeypatch.setattr(reports.time, "sleep", pauses.append)
    assert reports.single_alarms(bench) == len(bench.told) == len(pauses) == 200
    for card in range(1, 9):
        told = [words for words in bench.told if words[1].startswith(f"{card}/0/")]
        assert [state for *_, state in told] == (["raise", "clear"] * 13)[:25]
        assert {name for _, _, name, _ in told} == {"Loss of Signal"}
    assert max(pauses) - min(pauses) > 0.25


def test_a_storm_is_as_many_alarms_as_it_says_from_each_card(monkeypatch):
    pauses, bench = [], PlayedBench()
    monkeypatch.setattr(reports.time, "sleep", pauses.append)
    assert reports.storm(bench) == 10_000
    assert pauses == [10]
    assert bench.told == [("fault", "add", "event-burst", "--card", card, "--rate", 125, "--count", 1250)
                          for card in range(1, 9)]


# Which belong together.


def alarm(moment, label=ONU_LABEL, state="On"):
    return alarms.Alarm(moment, label, state)


def test_an_alarm_waits_from_its_departure_to_its_report():
    waits = reports.lay_beside({1: [alarm(10.0), alarm(10.5, state="Off")], 2: [alarm(11.0)]},
                               {2: [alarm(11.75)], 1: [alarm(10.75), alarm(10.75, state="Off")]})
    assert waits == [0.75, 0.25, 0.75]


@pytest.mark.parametrize("reported, complaint", [
    ({1: [alarm(10.1)]}, "card 1 sent 2 alarms, 1 were reported"),
    ({}, "card 1 sent 2 alarms, 0 were reported"),
    ({1: [alarm(10.1), alarm(10.6, state="Off"), alarm(10.6)]}, "card 1 sent 2 alarms, 3 were reported"),
    ({1: [alarm(10.1), alarm(10.6, state="Off")], 2: [alarm(10.6)]}, "card 2 sent 0 alarms, 1 were reported"),
    ({1: [alarm(10.6, state="Off"), alarm(10.6)]}, "state='On'.* reported was .*state='Off'"),
    ({1: [alarm(10.1), alarm(10.6, "ONU Link: 00:0d:b6:01:00:02", "Off")]}, "00:02.*state='Off'"),
    ({1: [alarm(10.1), alarm(10.4, state="Off")]}, "came before the alarm .* of card 1"),
])
def test_a_report_that_isnt_its_alarms_fails(reported, complaint):
    with pytest.raises(RuntimeError, match=complaint):
        reports.lay_beside({1: [alarm(10.0), alarm(10.5, state="Off")]}, reported)


class ScriptedManager:
    def __init__(self):
        self.parsed = []

    def news(self):
        return self.parsed

    def report(self, moment, *rows):
        self.parsed.append((moment, "/olt/alarm/new", {"alarm_list": [
            {"alarm": name, "label": ONU_LABEL, "slot_id": "1", "state": state} for name, state in rows]}))


@pytest.fixture
def scene(monkeypatch):
    """The waits of a journal and a manager that a test writes by hand, and a function that plays a cause."""
    monkeypatch.setattr(reports, "TAIL", 0)
    monkeypatch.setattr(reports, "ONE_MORE_PASS", 0)
    JOURNAL.write_text("")
    told = ScriptedManager()
    waits = reports.Waits(JOURNAL, told)

    def play(expected, lines, *rows):
        with open(JOURNAL, "a") as file:
            file.write("".join(lines))
        for moment, *said in rows:
            told.report(moment, *said)
        return waits.caused_by(lambda _: expected, None)

    return play


def test_each_cause_has_the_waits_of_its_own_alarms(scene):
    told = ("Loss of Signal", "On")
    assert scene(1, [line(1), line(1, direction="in"), line(1, message=7),
                     line(1, frame=DYING_GASP)],
                 (NOON + 1.5, told, ("Standard Dying Gasp", "On"))) == pytest.approx([0.5], abs=1e-5)
    assert scene(2, [line(2), line(2.5)], (NOON + 2.75, told), (NOON + 3, told)) == pytest.approx(
        [0.75, 0.5], abs=1e-5)


def test_more_alarms_than_were_caused_fail(scene):
    told = ("Loss of Signal", "On")
    with pytest.raises(RuntimeError, match="the cards sent 2 alarms, not 1"):
        scene(1, [line(1), line(1)], (NOON + 2, told, told))


def test_a_report_that_comes_a_pass_later_is_one_too_many(scene, monkeypatch):
    told = ("Loss of Signal", "On")
    all_news = ScriptedManager.news

    def late(self):
        late.calls = getattr(late, "calls", 0) + 1
        if late.calls == 2:
            self.report(NOON + 3, told)
        return all_news(self)

    monkeypatch.setattr(ScriptedManager, "news", late)
    with pytest.raises(RuntimeError, match="card 1 sent 1 alarms, 2 were reported"):
        scene(1, [line(1)], (NOON + 2, told))


def test_a_missing_report_says_how_many_came(scene, monkeypatch):
    monkeypatch.setattr(reports, "wait_for",
                        lambda predicate, limit, what, pause: predicate() or pytest.fail(what()))
    with pytest.raises(pytest.fail.Exception, match="2 alarms are sent and reported; sent 2, reported 1"):
        scene(2, [line(1), line(1)], (NOON + 2, ("Loss of Signal", "On")))


def test_half_a_pass_is_the_floor_of_the_median_and_a_pass_that_of_the_longest():
    rows = reports.summary("idle", [[0.5, 1.0, 1.5], [1.0, 1.0, 3.0], [2.0, 2.0, 2.5]])
    assert [(row.what, row.runs) for row in rows] == [("median wait, idle", [2.0, 2.0, 4.0]),
                                                     ("99th percentile, idle", [1.5, 3.0, 2.5])]
    assert rows[0].details == {"seconds": 1.0, "alarms": 9}
    assert rows[1].details == {"seconds": 2.5}


def test_an_onu_counts_as_reported_when_it_is_provisioned():
    def news(mac, gigabit, uri="/onu/new"):
        return 1.0, uri, {"mac_address": mac, "is_gigabit": gigabit}
    assert reports.onus([news("a", "1"), news("b", "0"), news("a", "1"), news("c", "1", "/onu/x")]) == {"a"}


# The manager's end.


def test_a_message_has_the_time_of_day_it_came_at():
    end = manager.Manager()
    before, steady = time.time(), time.monotonic()
    end.received.append((steady - 100, '{"uri": "/olt/x", "data": {"a": "1"}}'))
    end.received.append((steady - 50, '{"uri": "/olt/y", "data": {}}'))
    first = list(end.news())
    assert [(uri, data) for _, uri, data in first] == [("/olt/x", {"a": "1"}), ("/olt/y", {})]
    assert [moment for moment, _, _ in first] == pytest.approx([before - 100, before - 50], abs=1)
    assert end.news() == first
    end.close()


def test_a_thread_that_loses_its_core_doesnt_shift_the_time_of_day(monkeypatch):
    readings = iter([5.0, 5.0, 5.3] + [5.0] * 7)
    monkeypatch.setattr(manager.time, "time", lambda: 1005.0)
    monkeypatch.setattr(manager.time, "monotonic", lambda: next(readings))
    assert manager.time_of_day_offset() == 1000.0


def test_the_daemon_is_bound_when_its_port_is():
    assert not manager.is_bound()
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
        other.bind(("127.0.0.2", 14113))
        assert not manager.is_bound()
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as ours:
        ours.bind(("127.0.0.1", 14113))
        assert manager.is_bound()
