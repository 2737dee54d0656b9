"""How ./bench judges the runs of a row, and how its tables look: on rows made up by hand."""

import json
import sys

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import table  # noqa: E402
from benchmarks.suite.rows import Row, by_turns, from_json, plain, quantile, ratios  # noqa: E402


# A row's judgement.


def test_the_median_is_of_the_values_in_their_order():
    assert Row("a", "b", [9.0, 1.0, 2.0]).median == 2.0
    assert Row("a", "b", [9.0, 1.0, 2.0, 4.0]).median == 3.0


@pytest.mark.parametrize("goals, runs, met, text", [
    ({}, [1.0], None, ""),
    ({"at_most": 1.1}, [1.0, 1.1, 9.0], True, "at most 1.10"),
    ({"at_most": 1.1}, [0.1, 1.11, 1.2], False, "at most 1.10"),
    ({"at_most": 0.0}, [0.1], False, "at most 0"),
    ({"at_least": 2.0}, [0.5, 2.0, 2.0], True, "at least 2.00"),
    ({"at_least": 2.0}, [1.9, 1.99, 9.0], False, "at least 2.00"),
    ({"at_least": 0.95, "at_most": 1.05}, [1.0], True, "0.95 to 1.05"),
    ({"at_least": 0.95, "at_most": 1.05}, [0.94], False, "0.95 to 1.05"),
    ({"at_least": 0.95, "at_most": 1.05}, [1.06], False, "0.95 to 1.05"),
])
def test_a_goal_is_judged_by_the_median(goals, runs, met, text):
    row = Row("a", "b", runs, **goals)
    assert (row.is_met(), row.goal()) == (met, text)


def test_what_is_faster_than_its_floor_is_not_credible():
    assert Row("a", "b", [0.1]).is_credible()
    assert Row("a", "b", [0.1, 0.97, 2.0], credible_from=0.97).is_credible()
    assert not Row("a", "b", [0.1, 0.96, 2.0], at_most=1.0, credible_from=0.97).is_credible()


@pytest.mark.parametrize("row", [
    Row("a", "b", [1.0, 3.0, 2.0], "ms", at_most=2.5, at_least=0.5, credible_from=0.97, details={"n": 3}),
    Row("c", "", [4.0]),
])
def test_a_stored_row_is_the_same_again(row):
    assert from_json(json.loads(json.dumps(row.as_json()))) == row


def test_a_stored_row_tells_other_programs_how_it_went():
    stored = Row("a", "b", [1.0, 3.0, 2.0], at_most=1.5).as_json()
    assert (stored["median"], stored["min"], stored["max"], stored["met"]) == (2.0, 1.0, 3.0, False)


@pytest.mark.parametrize("number, text", [
    (0, "0"), (0.0, "0"), (0.0012345, "0.00123"), (0.00001234, "0.0000123"), (-0.05, "-0.0500"),
    (0.09994, "0.0999"), (0.1, "0.10"), (1.005, "1.00"), (9.87, "9.87"),
    (10.0, "10.0"), (99.5, "99.5"), (100, "100"), (1234567.8, "1,234,568"), (-12.34, "-12.3"), (-1500, "-1,500")])
def test_a_number_has_the_digits_that_count(number, text):
    assert plain(number) == text


@pytest.mark.parametrize("number, text", [(3, "3"), (28, "28"), (12345, "12,345")])
def test_what_is_counted_is_whole(number, text):
    assert plain(number) == text


def test_each_value_comes_first_in_turn():
    assert [by_turns((8, 64, 248), turn) for turn in range(4)] == [
        [8, 64, 248], [64, 248, 8], [248, 8, 64], [8, 64, 248]]


def test_ratios_need_a_floor_for_each_run():
    assert ratios([2.0, 3.0], [1.0, 2.0]) == [2.0, 1.5]
    with pytest.raises(ValueError):
        ratios([1.0], [1.0, 2.0])


def test_quantiles_are_taken_from_the_values_in_their_order():
    assert quantile(range(100), 0.99) == 99
    assert quantile(range(200), 0.99) == 198
    assert quantile([3, 1, 2], 0.5) == 2


# Tables.


ROWS = [Row("speed", "floor", [1.2, 1.0, 1.1], at_most=1.1, details={"µs": 12.5, "state": "idle"}),
        Row("memory", "", [20.0, 25.0], "MiB", at_most=20.0, details={"threads": 128}),
        Row("rate", "peer", [3.0])]


def test_a_table_for_the_document_has_each_rows_figures_goal_and_details():
    assert table.as_markdown(ROWS) == "\n".join([
        "| What | Against | Median | Spread | Runs | Goal | µs | state | threads |",
        "| --- | --- | --- | --- | --- | --- | --- | --- | --- |",
        "| speed | floor | 1.10 | 1.00..1.20 | 3 | at most 1.10: met | 12.5 | idle |  |",
        "| memory |  | 22.5 MiB | 20.0..25.0 | 2 | at most 20.0: missed |  |  | 128 |",
        "| rate | peer | 3.00 | 3.00..3.00 | 1 |  |  |  |  |"])


def test_a_table_for_the_terminal_has_its_columns_below_each_other():
    lines = table.as_text(ROWS).splitlines()
    assert lines[0] == "What    Against  Median    Spread      Runs  Goal                  µs    state  threads"
    assert lines[1] == "speed   floor    1.10      1.00..1.20  3     at most 1.10: met     12.5  idle"
    assert lines[2] == "memory           22.5 MiB  20.0..25.0  2     at most 20.0: missed               128"
    assert lines[3] == "rate    peer     3.00      3.00..3.00  1"


def test_a_table_between_markers_keeps_what_is_around_it_and_its_own_backslashes():
    text = "a\n<!-- bench x -->\nold\n<!-- end x -->\nb\n<!-- bench y -->\nkept\n<!-- end y -->\n"
    assert table.write_into(text, "x", r"\1 new") == text.replace("old", r"\1 new")


@pytest.mark.parametrize("text", [
    "<!-- bench x -->\n", "<!-- end x -->\n", "<!-- bench x -->\n<!-- bench x -->\n<!-- end x -->\n",
    "<!-- bench x -->\n<!-- end x -->\n<!-- end x -->\n",
    "<!-- bench x -->\n<!-- end x -->\n<!-- bench x -->\n<!-- end x -->\n"])
def test_a_document_with_half_a_place_or_two_is_refused(text):
    with pytest.raises(ValueError, match="no place for x: <!-- bench x --> and <!-- end x -->"):
        table.write_into(text, "x", "new")
