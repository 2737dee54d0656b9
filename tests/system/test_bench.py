"""The pieces of ./bench that decide what a figure means, and its command line."""

import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import journal, table  # noqa: E402
from benchmarks.suite.cases import ALL, bring_up, instructions  # noqa: E402
from benchmarks.suite.rows import Row, quantile, ratios  # noqa: E402

LATENCY = 0.002


def datagram(direction, wall, ctag, card=3, message=385):
    return journal.Datagram(card, direction, wall, message, ctag)


def test_an_answer_belongs_to_the_request_with_its_tag_before_it():
    first, second = journal.exchanges([datagram("in", 10.0, 1), datagram("out", 10.002, 1),
                                       datagram("in", 10.003, 2), datagram("out", 10.006, 1)])[3]
    assert (first.answered, first.next) == (10.002, 10.003)
    assert (second.answered, second.next) == (None, None)


def test_the_floor_of_an_answered_request_is_the_latency():
    exchange = journal.Exchange(385, 10.0, 10.0025, 10.003)
    assert bring_up.floor_of(exchange, LATENCY, 99.0) == pytest.approx(LATENCY)


def test_the_floor_counts_whole_pauses_alone():
    exchange = journal.Exchange(385, 10.0, 10.002, 12.3)
    assert bring_up.floor_of(exchange, LATENCY, 99.0) == pytest.approx(LATENCY + 2)


def test_the_floor_of_an_unanswered_request_is_its_limit():
    again = journal.Exchange(385, 10.25, None, 15.001)
    assert bring_up.floor_of(again, LATENCY, 99.0) == pytest.approx(4.75)
    with_pause = journal.Exchange(385, 10.25, None, 16.2)
    assert bring_up.floor_of(with_pause, LATENCY, 99.0) == pytest.approx(5.75)


def test_the_floor_ends_with_the_bring_up():
    exchange = journal.Exchange(385, 10.0, 10.002, 14.0)
    assert bring_up.floor_of(exchange, LATENCY, 11.5) == pytest.approx(LATENCY + 1)


def test_a_slow_daemon_shows_in_the_time_but_not_in_the_floor():
    quick = [journal.Exchange(385, 10.0 + i, 10.002 + i, 11.0 + i) for i in range(4)]
    slow = [journal.Exchange(385, 10.0 + i * 0.5, 10.002 + i * 0.5, 10.5 + i * 0.5) for i in range(4)]
    for exchanges in (quick, slow):
        card = bring_up.card_time(exchanges, 9.9, exchanges[-1].next, LATENCY)
        assert card.floor == pytest.approx(0.1 + 4 * LATENCY)
        assert card.answered_floor == pytest.approx(card.floor)
        assert card.taken > 2


def test_a_late_card_is_not_taken_for_a_slow_daemon():
    exchanges = [journal.Exchange(385, 10.0, 10.5, 10.5), journal.Exchange(385, 10.5, 11.0, 11.0)]
    card = bring_up.card_time(exchanges, 9.9, 11.0, LATENCY)
    assert card.floor == pytest.approx(0.1 + 2 * LATENCY)
    assert card.taken == pytest.approx(1.1)
    assert card.answered_floor == pytest.approx(card.taken)


def test_a_card_is_done_when_its_last_onu_is_provisioned_and_up():
    def report(moment, mac, **changed):
        data = {"mac_address": mac, "slot_id": "3", "online_status": "1", "is_gigabit": "1",
                "ether_up_status": "1", **changed}
        return moment, "/onu/new", data
    reported = bring_up.in_service([report(1.0, "a"), report(2.0, "b", is_gigabit="0"),
                                    report(3.0, "b"), report(4.0, "a"), (5.0, "/olt/new", {})])
    assert bring_up.last_of_each_card(reported) == {3: 3.0}


def test_a_missed_goal_says_so():
    met = Row("a", "b", [1.0, 1.2, 1.1], at_most=1.1)
    missed = Row("c", "d", [0.9, 0.8], at_least=1.0)
    text = table.as_text([met, missed])
    assert "1.10    1.00..1.20" in text
    assert "at most 1.10: met" in text and "at least 1.00: missed" in text


def test_ratios_need_a_floor_for_each_run():
    assert ratios([2.0, 3.0], [1.0, 2.0]) == [2.0, 1.5]
    with pytest.raises(ValueError):
        ratios([1.0], [1.0, 2.0])


def test_quantiles_are_taken_from_the_values():
    assert quantile(range(100), 0.99) == 99
    assert quantile([3, 1, 2], 0.5) == 2


def test_a_table_replaces_the_one_between_its_markers():
    text = "a\n<!-- bench x -->\nold\n<!-- end x -->\nb\n"
    assert table.write_into(text, "x", "new") == "a\n<!-- bench x -->\nnew\n<!-- end x -->\nb\n"
    with pytest.raises(ValueError, match="no place for y"):
        table.write_into(text, "y", "new")


def test_every_case_has_its_place_in_the_document():
    document = (ROOT / "docs" / "performance.md").read_text()
    for name in ("machine", *ALL):
        table.write_into(document, name, "")


def test_instructions_are_divided_by_the_passes():
    out = Path("/tmp/out")
    out.write_text("fn=(1) main\ncfn=(7) ponmgr::PONCardHelper::handleAlarms()\ncalls=3 10\n1 5\n"
                   "fn=(7)\n1 5\nfn=(2) other\ncfn=(7)\ncalls=1 10\n1 5\ntotals: 1000\n")
    assert instructions.read(out) == 250
    out.write_text("fn=(1) main\ntotals: 1000\n")
    with pytest.raises(RuntimeError, match="no call"):
        instructions.read(out)


@pytest.mark.parametrize("words, text", [
    (["--slow"], "unknown option '--slow'"),
    (["nothing"], "no case 'nothing'"),
    (["--preset", "fuzz"], "--preset takes bench, release, debug or asan, not 'fuzz'"),
    (["--preset"], "--preset takes bench"),
])
def test_a_wrong_word_says_what_is_allowed(words, text):
    done = subprocess.run([ROOT / "bench", *words], capture_output=True, text=True)
    assert done.returncode == 2
    assert text in done.stderr


@pytest.mark.parametrize("words", [["--write", "--quick", "codec", "exchange"],
                                   ["codec", "--quick", "exchange", "--write"]])
def test_options_and_names_come_in_any_order(words):
    done = subprocess.run([sys.executable, "-m", "benchmarks.suite", "/tmp", *words], cwd=ROOT,
                          capture_output=True, text=True)
    assert done.returncode == 2
    assert "what --quick measures isn't for the document" in done.stderr


def test_the_cases_are_listed_with_what_they_answer():
    done = subprocess.run([ROOT / "bench", "--list"], capture_output=True, text=True, check=True)
    assert [line.split()[0] for line in done.stdout.splitlines()] == list(ALL)
