"""What ./bench makes of Google Benchmark's output: on an output made up by hand."""

import json
import sys
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite.cases import codec  # noqa: E402
from benchmarks.suite.surroundings import Bench  # noqa: E402


def repetition(name, nanoseconds, size=100, allocations=3.0, kind="iteration"):
    return {"name": f"{name}/repeats:3", "run_name": name, "run_type": kind, "iterations": 10,
            "real_time": 9999.0, "cpu_time": nanoseconds, "time_unit": "ns", "bytes": size,
            "allocations": allocations}


def output(*repetitions):
    return json.dumps({"context": {"num_cpus": 2}, "benchmarks": repetitions})


def by_name(*repetitions):
    return codec.by_name(output(*repetitions))


def links(work, count, nanoseconds, allocations, size=500):
    return [repetition(f"links/{work}/{count}", time, size=size, allocations=allocations) for time in nanoseconds]


GROWN = [*links("parse", 248, [248.0, 496.0, 248.0], 496), *links("parse", 62, [62.0, 62.0, 31.0], 62),
         *links("note", 248, [744.0, 744.0, 744.0], 248), *links("note", 62, [62.0, 124.0, 31.0], 62)]


def test_repetitions_that_come_in_any_order_belong_to_their_name():
    found = by_name(repetition("request/a", 10.0), repetition("request/a/floor", 1.0),
                    repetition("request/a", 30.0), repetition("request/a", 20.0, kind="aggregate"))
    assert {name: codec.times(runs) for name, runs in found.items()} == {
        "request/a": [10.0, 30.0], "request/a/floor": [1.0]}


def test_a_row_is_the_processor_time_beside_its_floors_repetition_by_repetition():
    measured = by_name(*(repetition("request/a", time) for time in (10.0, 30.0, 20.0)),
                       *(repetition("request/a/floor", time) for time in (2.0, 3.0, 8.0)))
    row, = codec.beside_floors(measured)
    assert (row.what, row.against) == ("request/a", "memcpy of its bytes")
    assert row.runs == [5.0, 10.0, 2.5]


def test_details_are_those_of_the_median():
    told = codec.details(by_name(*(repetition("a", time, size=50, allocations=4.5)
                                   for time in (400.0, 100.0, 200.0)))["a"])
    assert told == {"a second": pytest.approx(5_000_000), "ns a byte": 4.0, "bytes": 50, "allocations": 4.5}


def test_only_what_has_a_floor_is_a_row_and_rows_come_by_name():
    rows = codec.beside_floors(by_name(*(
        repetition(name, 2.0) for name in ("response/b", "response/b/floor", "request/a", "links/x/124",
                                           "request/a/floor", "json/c/floor", "json/c"))))
    assert [(row.what, row.against) for row in rows] == [
        ("json/c", "cJSON alone"), ("request/a", "memcpy of its bytes"), ("response/b", "memcpy of its bytes")]


def test_a_parsed_alarm_alone_has_a_goal():
    rows = codec.beside_floors(by_name(
        repetition("json/parsed-alarm", 31.0), repetition("json/parsed-alarm/floor", 10.0),
        repetition("json/other", 31.0), repetition("json/other/floor", 10.0)))
    assert {row.what: row.is_met() for row in rows} == {"json/parsed-alarm": False, "json/other": None}
    assert rows[1].goal() == "at most 3.00"


def test_a_message_cheaper_than_its_floor_is_not_credible():
    rows = codec.beside_floors(by_name(
        repetition("json/parsed-alarm", 9.6), repetition("json/parsed-alarm/floor", 10.0),
        repetition("json/other", 9.8), repetition("json/other/floor", 10.0)))
    assert {row.what: row.is_credible() for row in rows} == {"json/parsed-alarm": False, "json/other": True}


def test_growth_compares_a_link_of_a_whole_list_with_one_of_a_quarter():
    rows = {row.what: row for row in codec.growth(by_name(*GROWN))}
    assert rows["links/parse: time of a link of 248"].runs == [1.0, 2.0, 2.0]
    assert rows["links/note: time of a link of 248"].runs == [3.0, 1.5, 6.0]
    assert rows["links/parse: allocations of a link of 248"].runs == [2.0, 2.0, 2.0]
    assert rows["links/note: allocations of a link of 248"].runs == [1.0, 1.0, 1.0]
    assert {row.against for row in rows.values()} == {"a link of 62"}


def test_growth_is_judged_by_what_it_takes_from_the_heap():
    met = {row.what: row.is_met() for row in codec.growth(by_name(*GROWN))}
    assert met == {"links/parse: time of a link of 248": None, "links/note: time of a link of 248": None,
                   "links/parse: allocations of a link of 248": False,
                   "links/note: allocations of a link of 248": True}


def test_the_program_is_asked_for_as_many_repetitions_as_there_are_runs():
    program = Path("/tmp/bin/bench-codec")
    program.parent.mkdir()
    found = output(repetition("request/a", 4.0), repetition("request/a/floor", 2.0), *GROWN)
    program.write_text(f"#!/bin/sh\necho \"$@\" >/tmp/words\ncat <<'TXT'\n{found}\nTXT\n")
    program.chmod(0o755)
    rows = codec.run(Bench(Path("/tmp"), quick=True))
    words = Path("/tmp/words").read_text().split()
    assert "--benchmark_format=json" in words and "--benchmark_repetitions=3" in words
    assert "--benchmark_enable_random_interleaving=true" in words
    assert rows[0].runs == [2.0] and len(rows) == 5
