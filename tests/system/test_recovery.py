"""Every kind of fault between the daemon and its cards, and every two of them: when it is over, the
inventory is right within the time that is promised, commands were not lost, and the slot without faults
was never kept waiting."""

import itertools
import random
import re

import pytest

from conftest import ROOT
from support import recovery
from support.product import control
from support.wire_faults import KINDS, LEAVES_A_TRY, LOSING, Round

FAULTY, CLEAN = tuple(range(1, 8)), 8
# An answer must not come while the daemon, on a busy machine, is about to wait for it.
OPTIONS = ("--onus", "2", "--configured", "--onu-reset-time", "1s", "--journal", "200000", "--latency", "50ms")
ALL = list(KINDS)
PAIRS = list(itertools.combinations(ALL, 2))
ROUNDS = [PAIRS[i:i + len(FAULTY)] for i in range(0, len(PAIRS), len(FAULTY))]
# All kinds, two or three at a slot.
SHUFFLED = random.Random(11).sample(ALL, len(ALL))
HANDFUL = [tuple(SHUFFLED[slot::len(FAULTY)]) for slot in range(len(FAULTY))]


def test_the_times_are_those_of_the_documents():
    text = (ROOT / "docs" / "operations.md").read_text()
    section = text.split("## How long recovery takes")[1].split("### ")[0]
    rows = re.findall(r"^\| (.+) \| (\d+) s \|$", section, re.M)
    assert {words: int(limit) for words, limit in rows} == recovery.STATED
    assert len(rows) == len(recovery.STATED)
    for words in (f"lasts {recovery.TRY} s", "there are three", f"up to {recovery.PASS} s",
                  f"start within {recovery.RESET} s"):
        assert words in " ".join(section.split())
    assert recovery.TRIES == 3


def by_slot(kinds):
    return dict(zip(FAULTY, kinds))


def play(chassis, kinds, duration, slots="1-8"):
    _, _, daemon = chassis(slots, *OPTIONS)
    played = Round(daemon, by_slot(kinds), CLEAN, duration)
    played.prepare()
    played.play()
    played.recover()
    played.check_the_clean_card()
    return played


# Faults that end within an exchange, and those that outlast one: three tries and the wait for the first.
SHORT, OUTLASTING = recovery.TRY + 1, (recovery.TRIES + 1) * recovery.TRY
LONG = (pytest.mark.long, pytest.mark.timeout(500))

SINGLE = [[(kind,) for kind in ALL[third::3]] for third in range(3)]


def test_after_every_kind_of_fault_among_others_all_is_right_in_time(chassis):
    play(chassis, HANDFUL, SHORT)
    assert sorted(ALL) == sorted(row["kind"] for row in control("fault", "kinds")["kinds"])


def test_after_seconds_of_lost_or_late_answers_all_is_right_as_after_a_bad_wire(chassis):
    """All the other kinds that lose or delay are among the single ones below."""
    played = play(chassis, [("drop",), ("delay",), ("late",)], SHORT, "1-3,8")
    for slot in played.slots:
        lingers = KINDS[slot.kinds[0]].lingers
        assert slot.limit == recovery.WIRE + lingers


@pytest.mark.parametrize("kinds", [pytest.param(kinds, marks=LONG) for kinds in SINGLE])
@pytest.mark.parametrize("duration", [SHORT, OUTLASTING])
def test_after_each_fault_all_is_right_in_time(chassis, kinds, duration):
    played = play(chassis, kinds, duration)
    promised = {slot.kinds[0] for slot in played.slots if slot.limit < recovery.RESTART}
    assert promised == {kind for kind, in kinds if kind in LOSING and duration <= LEAVES_A_TRY}


@pytest.mark.parametrize("kinds", [pytest.param(kinds, marks=LONG) for kinds in ROUNDS])
def test_after_every_pair_of_faults_all_is_right_in_time(chassis, kinds):
    play(chassis, kinds, OUTLASTING)
