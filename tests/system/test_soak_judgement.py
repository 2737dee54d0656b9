"""What ./soak judges by: each rule with what passes it and what doesn't, on samples made up by hand."""

import sys

import pytest

from conftest import ROOT

sys.path.insert(0, str(ROOT / "tests" / "soak"))

import judgement  # noqa: E402
import report  # noqa: E402
import samples  # noqa: E402
from incidents import Incident, Incidents  # noqa: E402
from readings import Reading  # noqa: E402
from samples import Sample  # noqa: E402
from settings import MANY_ONUS, RECOVERY_LIMIT  # noqa: E402

REST = {"ponmgrd": Reading(8000, 6, 28), "dbman": Reading(12000, 16, 7), "chassis-sim": Reading(8000, 16, 1)}
MISSING = ["ONU ('0', '00:0d:b6:00:00:00') is missing in the inventory"]
OUT_OF_SERVICE = ["card configured, 0 of 64 ONUs"]


def sample(at=100.0, readings=None, drained=0.0, wrong=None, unseen=None):
    return Sample(at, at + 1, {**REST, **(readings or {})}, 0, 0, 0, drained,
                  None if unseen else wrong or {}, unseen)


def incidents(*made):
    told = Incidents()
    for one in made:
        told.add(one)
    return told


def trouble(began, ended, recovery=61.0, slot=1, halts=False):
    return Incident("drop", frozenset([slot]), recovery, began, ended, halts)


def test_the_rules_are_those_of_the_documents():
    section = (ROOT / "docs" / "testing.md").read_text().split("## Soak")[1].split("## ")[0]
    text = " ".join(section.split())
    mib = {name: most >> 10 for name, most in judgement.MOST_RESIDENT_KB.items()}
    assert mib == {"ponmgrd": 64, "dbman": 64, "chassis-sim": 100} and set(judgement.MORE_THREADS.values()) == {0}
    assert judgement.MORE_DESCRIPTORS == {"ponmgrd": 16, "dbman": 32, "chassis-sim": 32}
    assert (judgement.EXCUSED_SHARE, judgement.EXCUSED_ALLOWED, judgement.UNSEEN_SHARE) == (0.1, 2, 0.25)
    for words in ("| 64 MiB for the daemon and for dbman, 100 MiB for the simulator |",
                  "16 more for the daemon's probes, 32 for the others' clients",
                  f"no more than {judgement.LONGEST_GAP} s after the one before",
                  f"{MANY_ONUS} s for the passes of many ONUs; {RECOVERY_LIMIT} s are the longest",
                  f"Every {samples.EVERY} s", f"empty once within {samples.DRAIN_TIME} s",
                  f"{report.LEVEL_GROWTH:.0%} more".replace("%", " %"),
                  "one in ten of the slots in samples", "it may be a quarter of all"):
        assert words in text, words


# Samples that are missing.


def test_samples_every_ten_seconds_leave_no_gap():
    assert judgement.gaps([0.1, 10.1, 30.1], 0.0, 45.0) == []


@pytest.mark.parametrize("times, gap", [
    ([30.2, 40.0], "0 s to 30 s"), ([1.0, 22.0, 40.0], "1 s to 22 s"), ([1.0, 20.0], "20 s to 45 s"),
    ([], "0 s to 45 s")])
def test_a_sample_that_is_missing_is_noticed(times, gap):
    assert judgement.gaps(times, 0.0, 45.0) == [f"no sample was taken from {gap}"]


# What a program takes.


def complaints(told, *made, judge_sizes=True):
    return judgement.complaints_about_sample(told, incidents(*made), REST, judge_sizes)


def test_a_storm_and_probes_are_within_the_bounds():
    assert complaints(sample(readings={"ponmgrd": Reading(64 << 10, 22, 28)})) == []


@pytest.mark.parametrize("reading, complaint", [
    (Reading((64 << 10) + 1, 6, 28), "took 65537 kB at 100 s; 65536 kB are the most"),
    (Reading(8000, 23, 28), "had 23 descriptors at 100 s; 22 are the most"),
    (Reading(8000, 6, 29), "had 29 threads at 100 s; 28 are the most")])
def test_what_goes_beyond_a_bound_in_one_sample_is_wrong(reading, complaint):
    assert complaints(sample(readings={"ponmgrd": reading})) == [f"ponmgrd {complaint}"]


def test_sizes_of_a_short_soak_are_not_judged():
    assert complaints(sample(readings={"ponmgrd": Reading(200000, 6, 28)}), judge_sizes=False) == []


def test_a_program_is_missing_in_a_sample_only_when_it_was_halted_or_killed():
    told = sample()
    del told.readings["dbman"]
    assert complaints(told) == ["dbman couldn't be looked at at 100 s"]
    assert complaints(told, trouble(95, 99, halts=True)) == []
    assert complaints(told, trouble(70, 79, halts=True)) != []


def test_a_queue_that_is_never_empty_is_wrong_unless_its_reader_was_halted():
    assert complaints(sample(drained=9.0)) == []
    stands = sample(drained=None)
    assert complaints(stands) == [
        "0 bytes at a UDP socket, or 0 at a local one, weren't taken within 10 s at 100 s"]
    assert complaints(stands, trouble(95, None, halts=True)) == []


# What is wrong in the inventory.


def judge(told, *made, kinds=None, ledger=None):
    return (ledger or judgement.Ledger()).judge_inventory(told, incidents(*made), kinds or {}, range(1, 9))


def test_a_trouble_explains_what_is_wrong_at_its_slot_while_it_lasts_and_while_it_is_recovered_from():
    wrong = sample(wrong={1: MISSING})
    assert judge(wrong, trouble(90, None)) == []
    assert judge(wrong, trouble(10, 39.5)) == []


@pytest.mark.parametrize("made", [[], [trouble(10, 38)], [trouble(90, None, slot=2)], [trouble(102, None)],
                                  [trouble(10, 99, recovery=0.5)]])
def test_what_no_trouble_explains_is_wrong(made):
    assert judge(sample(wrong={1: MISSING}), *made) == [
        f"wrong at 100 s without a trouble that explains it: slot 1: {MISSING[0]}"]


def test_lost_datagrams_excuse_a_card_out_of_service_and_no_wrong_inventory():
    late = trouble(10, 20)
    assert judge(sample(wrong={1: OUT_OF_SERVICE}), late, kinds={1: {"drop"}}) == []
    assert judge(sample(wrong={1: MISSING}), late, kinds={1: {"drop"}}) != []
    assert judge(sample(wrong={1: OUT_OF_SERVICE}), late, kinds={2: {"drop"}}) != []


def test_an_inventory_is_unseen_only_when_a_program_was_halted_or_killed():
    unseen = sample(unseen="no answer within 6 s")
    assert judge(unseen) == ["the inventory couldn't be seen at 100 s: no answer within 6 s"]
    assert judge(unseen, trouble(95, 99, halts=True)) == []


# Excuses have an end.


def test_a_few_excuses_pass():
    ledger = judgement.Ledger()
    ledger.slots.update({"right": 90, "excused": 10})
    ledger.calms, ledger.mended = 8, 2
    assert ledger.complaints_about_excuses(300) == []


def test_more_excuses_than_one_in_ten_are_wrong():
    ledger = judgement.Ledger()
    ledger.slots.update({"right": 80, "in time": 9, "excused": 11})
    ledger.calms, ledger.mended = 80, 9
    assert ledger.complaints_about_excuses(300) == [
        "11 of 100 slots in samples were excused; 10% may be", "9 of 80 slots in calms were excused; 10% may be"]


def test_more_than_a_quarter_that_is_unseen_is_wrong():
    ledger = judgement.Ledger()
    ledger.slots.update({"right": 300, "unseen": 100})
    assert ledger.complaints_about_excuses(300) == []
    ledger.slots.update({"unseen": 8})
    assert ledger.complaints_about_excuses(300) == ["108 of 408 slots in samples weren't seen; 25% may be"]


def test_a_slot_that_is_wrong_for_ever_is_noticed_whatever_explains_it():
    ledger = judgement.Ledger()
    for at in range(0, 300, 10):
        assert judge(sample(at=at, wrong={1: MISSING}), trouble(0, None), ledger=ledger) == []
    assert ledger.complaints_about_excuses(300) == []
    assert ledger.complaints_about_excuses(280) == ["a slot was wrong for 291 s; 280 s may be"]


def test_the_time_that_a_slot_is_wrong_begins_anew_when_it_was_right():
    ledger = judgement.Ledger()
    for at in range(0, 300, 10):
        judge(sample(at=at, wrong={1: MISSING} if at % 50 else {}), trouble(0, None), ledger=ledger)
    assert ledger.longest_wrong == 31


# When a slot has to be right.


def test_a_slot_has_the_time_of_each_of_its_troubles_from_the_end_of_each():
    told = incidents(trouble(0, 10, recovery=60), trouble(20, 50, recovery=5), trouble(0, 100, slot=2))
    assert (told.deadline(1), told.deadline(3)) == (70, 0)


def test_a_slot_in_trouble_has_no_deadline():
    assert incidents(trouble(0, None), trouble(0, 10)).deadline(1) is None


def test_faults_that_are_taken_away_end_when_they_are():
    told = incidents(trouble(0, 30), trouble(0, 5), trouble(0, None))
    told.end(lambda one: one.name == "drop", 12)
    assert [one.ended for one in told.all] == [12, 5, 12]
