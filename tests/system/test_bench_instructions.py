"""How ./bench reads what callgrind has counted."""

import sys

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
    assert instructions.read(OUT) == Counted(a_pass=(10000 - 4000 - 500) / 4, a_reading=2000)


@pytest.mark.parametrize("missing", ["calls=3 10\n+4 9000\n", "calls=2 99\n* 4000\n"])
def test_a_count_without_passes_or_readings_is_refused(missing):
    text = OUT.replace(missing, "").replace("calls=1 10\n1 1000\n", "")
    with pytest.raises(RuntimeError, match="callgrind has seen 0 calls|and 0 of"):
        instructions.read(text)


def test_growth_is_what_an_onu_adds_between_the_larger_sizes():
    counted = {8: [Counted(1000, 0)], 64: [Counted(1000 + 56 * 100, 0)], 248: [Counted(6600 + 184 * 110, 0)]}
    assert instructions.growth(counted, "a pass", lambda one: one.a_pass).runs == [pytest.approx(1.1)]
