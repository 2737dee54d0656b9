"""How ./bench reads what callgrind has counted."""

import json
import sys
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite.cases import instructions  # noqa: E402
from benchmarks.suite.cases.instructions import Counted  # noqa: E402

OUT = """fn=(1) main
12 5
cfi=(2) task.cpp
cfn=(7) ponmgr::PONCardTask::pollCard()
calls=3 10
+4 9000
fn=(7)
10 20
cfn=(8) ponmgr::PONCardHelper::doGetAllOnuOpticsPower()
calls=2 99
* 4000
cfn=(10) ponmgr::PONCardHelper::doGetOnuOpticsPower(ponmgr::OnuLink*)
calls=16 99
* 3900
cfn=(9) ponmgr::PONCardHelper::doRecheckConfiguration()
calls=1 7
-3 500
fn=(2) other
cfn=(7)
calls=1 10
1 1000
totals: 99999
"""


def test_a_pass_is_without_what_is_not_done_in_each():
    assert instructions.read(OUT, 8) == Counted(a_pass=(10000 - 4000 - 500) / 4, a_reading=2000)


@pytest.mark.parametrize("missing", ["calls=3 10\n+4 9000\n", "calls=2 99\n* 4000\n"])
def test_a_count_without_passes_or_readings_is_refused(missing):
    text = OUT.replace(missing, "").replace("calls=1 10\n1 1000\n", "")
    with pytest.raises(RuntimeError, match="callgrind has seen 0 calls|and 0 of"):
        instructions.read(text, 8)


@pytest.mark.parametrize("seen", [15, 17])
def test_a_count_of_half_a_reading_is_refused(seen):
    """The end of the count cuts off the last ONUs; its beginning, a reading whose last ONUs are counted still."""
    with pytest.raises(RuntimeError, match=f"2 readings of 8 ONUs, but {seen} ONUs: one was cut off"):
        instructions.read(OUT.replace("calls=16 99", f"calls={seen} 99"), 8)


def line(card, asked, direction="in"):
    return json.dumps({"card": card, "direction": direction, "wall": "2026-11-21T10:00:00.5Z", "id": asked,
                       "ctag": 1, "hex": ""}) + "\n"


@pytest.fixture
def journal_file():
    """Writes more of a journal: what each card of a list is asked for."""
    path = Path("/tmp/journal")
    path.touch()

    def write(cards, *requests, direction="in"):
        with path.open("a") as file:
            file.writelines(line(card, asked, direction) for card in cards for asked in requests)
    write.path = path
    return write


ALL = range(1, 9)


def test_a_reading_goes_on_until_its_card_is_asked_for_something_else(journal_file):
    readings = instructions.Readings(journal_file.path)
    assert not readings.goes_on()
    journal_file([3], 118, 585)
    assert readings.goes_on()
    journal_file([3], 585)
    journal_file([3], 585, direction="out")
    journal_file([4], 312)
    assert readings.goes_on() and readings.ended[3] == 0
    journal_file([3], 312)
    assert not readings.goes_on() and readings.ended[3] == 1


def test_each_card_is_to_have_a_whole_reading(journal_file):
    readings = instructions.Readings(journal_file.path)
    journal_file(ALL, 585, 585, 312, 118)
    assert not readings.goes_on()
    before = readings.ended.copy()
    assert not readings.has_each_card_since(before)
    journal_file(range(1, 8), 585, 585, 312)
    assert not readings.has_each_card_since(before), "card 8 hasn't begun"
    journal_file([8], 585)
    assert not readings.has_each_card_since(before), "card 8 has begun"
    journal_file([8], 312)
    assert readings.has_each_card_since(before)
    journal_file([1], 585)
    assert not readings.has_each_card_since(before), "card 1 is at it again"


def test_growth_is_what_an_onu_adds_between_the_larger_sizes():
    counted = {8: [Counted(1000, 0)], 64: [Counted(1000 + 56 * 100, 0)], 248: [Counted(6600 + 184 * 110, 0)]}
    assert instructions.growth(counted, "a pass", lambda one: one.a_pass).runs == [pytest.approx(1.1)]
