"""The pieces of ./bench that decide what a figure means, and its command line."""

import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import journal, table  # noqa: E402
from benchmarks.suite.cases import ALL  # noqa: E402
from benchmarks.suite.rows import Row, quantile, ratios  # noqa: E402


def datagram(direction, wall, ctag, card=3, message=385):
    return journal.Datagram(card, direction, wall, message, ctag)


def test_an_answer_belongs_to_the_request_with_its_tag_before_it():
    first, second = journal.exchanges([datagram("in", 10.0, 1), datagram("out", 10.002, 1),
                                       datagram("in", 10.003, 2), datagram("out", 10.006, 1)])[3]
    assert (first.answered, first.next) == (10.002, 10.003)
    assert (second.answered, second.next) == (None, None)


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


@pytest.mark.parametrize("words, text", [
    (["--slow"], "unknown option '--slow'"),
    (["nothing"], "no case 'nothing'"),
    (["--preset", "fuzz"], "--preset takes bench, release, debug or asan, not 'fuzz'"),
    (["--preset"], "--preset takes bench"),
    (["--write", "--preset", "asan"], "what the preset asan measures isn't for the document"),
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
