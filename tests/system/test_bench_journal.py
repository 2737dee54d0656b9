"""How ./bench reads the simulator's journal, and which answer it takes for which request's."""

import json
import sys
import time
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import journal  # noqa: E402

JOURNAL = Path("/tmp/journal")
NOON = 1795435200.0  # 2026-11-23 12:00:00 UTC, in seconds since 1970


def line(wall="2026-11-23T12:00:00.25Z", card=1, direction="out", message=385, ctag=0, frame="0181"):
    return json.dumps({"number": 1, "card": card, "direction": direction, "wall": wall, "id": message,
                       "ctag": ctag, "hex": frame}) + "\n"


def test_a_journals_line_becomes_a_datagram():
    JOURNAL.write_text(line(card=7, direction="in", message=385, ctag=12, frame="0181"))
    assert journal.read(JOURNAL) == [
        journal.Datagram(7, "in", pytest.approx(NOON + 0.25, abs=1e-6), 385, 12, "0181")]


@pytest.mark.parametrize("text, seconds", [
    ("2026-11-23T12:00:00.000000000Z", NOON), ("2026-11-23T12:00:00.956648003Z", NOON + 0.956648003),
    ("2026-11-23T12:01:02.000000009Z", NOON + 62.000000009), ("1970-01-01T00:00:01.5Z", 1.5)])
def test_a_journals_time_is_utc_with_its_fraction(monkeypatch, text, seconds):
    monkeypatch.setenv("TZ", "Asia/Tokyo")
    time.tzset()
    JOURNAL.write_text(line(wall=text))
    assert journal.read(JOURNAL)[0].wall == pytest.approx(seconds, abs=1e-6)


def test_a_line_that_is_being_written_waits_for_its_end():
    whole = [line(ctag=tag) for tag in range(4)]
    reader = journal.Reader(JOURNAL)
    with open(JOURNAL, "w", buffering=1) as file:
        def tags(text):
            file.write(text)
            file.flush()
            return [datagram.ctag for datagram in reader.more()]
        assert tags(whole[0] + whole[1][:40]) == [0]
        assert tags("") == []
        assert tags(whole[1][40:] + whole[2]) == [1, 2]
        assert tags(whole[3][:-1]) == []
        assert tags("\n") == [3]


# Requests and answers.


def datagram(direction, wall, ctag, card=3, message=385):
    return journal.Datagram(card, direction, wall, message, ctag)


def exchanges(*datagrams):
    return journal.exchanges(datagrams)


def test_an_answer_belongs_to_the_request_with_its_tag_before_it():
    first, second = exchanges(datagram("in", 10.0, 1), datagram("out", 10.002, 1),
                              datagram("in", 10.003, 2), datagram("out", 10.006, 1))[3]
    assert (first.id, first.sent, first.answered, first.next) == (385, 10.0, 10.002, 10.003)
    assert (second.sent, second.answered, second.next) == (10.003, None, None)


@pytest.mark.parametrize("other", [{"ctag": 2}, {"ctag": 1, "message": 388}, {"ctag": 1, "card": 4}])
def test_an_answer_to_something_else_belongs_to_no_request(other):
    one, = exchanges(datagram("in", 10.0, 1), datagram("out", 10.002, **other))[3]
    assert one.answered is None


def test_an_answer_that_went_before_a_request_came_is_not_its():
    one, = exchanges(datagram("out", 9.9, 1), datagram("in", 10.0, 1))[3]
    assert one.answered is None


def test_each_try_of_a_request_has_the_answer_of_its_own_time():
    first, again = exchanges(datagram("in", 10.0, 1), datagram("in", 15.0, 1), datagram("out", 15.002, 1))[3]
    assert (first.answered, first.next, again.answered) == (None, 15.0, 15.002)


def test_each_card_has_its_own_requests():
    told = exchanges(datagram("in", 10.0, 1, card=1), datagram("in", 10.1, 1, card=2),
                     datagram("out", 10.2, 1, card=1), datagram("out", 10.4, 1, card=2))
    assert {card: [(one.sent, one.answered, one.next) for one in made] for card, made in told.items()} == {
        1: [(10.0, 10.2, None)], 2: [(10.1, 10.4, None)]}
