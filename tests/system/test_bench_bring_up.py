"""What ./bench takes for a bring-up's floor, and what counts against the daemon."""

import math
import sys

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite.cases import bring_up  # noqa: E402
from benchmarks.suite.journal import Exchange  # noqa: E402

LATENCY = 0.002
# Eight requests of its one ONU; the silent one ends at 105 s.
ONU = [585, 388, 385, 397, 384, 384, 384, 299]
FIXED = [7] * 3 + [435] * (bring_up.FIXED_REQUESTS - 3)


def play(gap=0.0, ids=(*FIXED, *ONU), start=100.25, late=0.0, repeated=None):
    """Requests one behind the other, with a pause behind each of the first six; the seventh isn't answered at
    first. What the daemon takes between an answer and the next request is `gap`."""
    exchanges, now = [], start
    for number, message in enumerate(ids):
        if number == 6:
            exchanges.append(Exchange(message, now, None, 0))
            now = math.floor(now) + 5.0
        for _ in range(2 if number == repeated else 1):
            answered = now + LATENCY + late
            exchanges.append(Exchange(message, now, answered, 0))
            now = answered + gap + (1.0 if number < 6 else 0.0)
    for one, following in zip(exchanges, exchanges[1:]):
        one.next = following.sent
    exchanges[-1].next = None
    return exchanges, exchanges[-1].answered


def time_of(played, onus=1):
    exchanges, end = played
    return bring_up.card_time(exchanges, 100.0, end, LATENCY, onus)


def test_a_daemon_that_takes_no_time_is_at_the_floor():
    card = time_of(play())
    # Idle for 0.25 s; the silent request is sent at 106.262 s, with its limit at 111 s.
    assert card.floor == pytest.approx(0.25 + 4.738 + 60 * LATENCY + 6)
    assert card.taken == pytest.approx(card.floor, abs=1e-9)
    assert (card.beyond, card.late) == (0, pytest.approx(0))


def test_time_between_the_requests_counts_against_the_daemon_also_when_it_is_whole_seconds():
    card = time_of(play(gap=3.0))
    assert card.floor < 12
    assert card.taken > 12 + 50 * 3


def test_requests_that_the_protocol_does_not_ask_for_count_against_the_daemon():
    card = time_of(play(ids=(*FIXED, *[435] * 100, *ONU)))
    assert card.taken == pytest.approx(card.floor + 100 * LATENCY, abs=1e-9)
    assert card.beyond == 100


def test_a_request_that_is_repeated_counts_against_the_daemon():
    card = time_of(play(repeated=30))
    assert card.taken == pytest.approx(card.floor + LATENCY, abs=1e-9)
    assert card.beyond == 1


def test_a_second_request_without_an_answer_counts_against_the_daemon():
    exchanges, end = play()
    one = exchanges[40]
    one.answered = None
    assert bring_up.card_time(exchanges, 100.0, end, LATENCY, 1).floor == pytest.approx(time_of(play()).floor)


def test_the_port_of_a_link_is_asked_for_once_at_the_most():
    once, twice = (time_of(play(ids=(*FIXED, *[363] * times, *ONU))) for times in (1, 2))
    assert once.floor == twice.floor == pytest.approx(time_of(play()).floor + LATENCY)
    assert (once.beyond, twice.beyond) == (0, 1)


def test_an_idle_slot_looks_every_two_seconds_at_the_latest():
    assert time_of(play(start=102.75)).floor == pytest.approx(2 + 113 - 108.762 + 60 * LATENCY + 6)


def test_what_the_card_is_late_is_told_apart():
    card = time_of(play(late=0.003))
    assert card.late == pytest.approx(60 * 0.003)
    assert card.floor == pytest.approx(time_of(play()).floor - 6 * 0.003)


def test_the_requests_of_links_are_told_apart_without_the_pause_behind_a_pass():
    exchanges, end = play(gap=0.001)
    exchanges[-8].next += 1.0  # the levels end a pass
    for one in exchanges[-7:]:
        one.sent, one.answered, one.next = one.sent + 1.0, one.answered + 1.0, one.next and one.next + 1.0
    assert bring_up.card_time(exchanges, 100.0, end + 1.0, LATENCY, 1).links == pytest.approx(8 * LATENCY + 7 * 0.001)


def test_a_summary_takes_the_last_card_of_each_turn():
    def card(taken, floor=10.0):
        return bring_up.CardTime(taken, floor, late=1.0, links=0.24, beyond=2)
    row, = bring_up.summary(8, 2, [[card(11.0), card(12.0)], [card(10.5), card(10.0)]])
    assert row.runs == [1.2, 1.05]
    assert row.details["requests beyond it"] == 2
    assert row.details["its links' requests alone"] == pytest.approx(0.24 / (8 * 8 * LATENCY))
    assert row.details["with the answers as they came"] == pytest.approx((12 / 11 + 10.5 / 11) / 2)


def test_growth_is_what_an_onu_takes_on_a_full_card_beside_one_of_64():
    def turn(links):
        return [bring_up.CardTime(0, 0, 0, links=links, beyond=0)]
    row = bring_up.growth(2, {64: [turn(64 * 0.5)], 248: [turn(248 * 0.6)]})
    assert row.runs == [pytest.approx(1.2)]
    assert row.is_met() is False
    assert bring_up.growth(2, {64: [turn(64)], 248: [turn(248 * 0.9)]}).is_met() is False


def test_a_card_is_done_when_its_last_onu_is_provisioned_and_up():
    def report(moment, mac, **changed):
        data = {"mac_address": mac, "slot_id": "3", "online_status": "1", "is_gigabit": "1",
                "ether_up_status": "1", **changed}
        return moment, "/onu/new", data
    reported = bring_up.in_service([report(1.0, "a"), report(2.0, "b", is_gigabit="0"),
                                    report(3.0, "b"), report(4.0, "a"), (5.0, "/olt/new", {})])
    assert bring_up.last_of_each_card(reported) == {3: 3.0}
