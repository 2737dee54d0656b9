"""./soak: its command line, what it makes of what it has measured, and a short soak of the whole product."""

import json
import os
import re
import signal
import socket
import subprocess
import sys
import time
from collections import namedtuple
from pathlib import Path

import pytest

from conftest import BUILD, ROOT

sys.path.insert(0, str(ROOT / "tests" / "soak"))

import duration  # noqa: E402
import judgement  # noqa: E402
import log_kinds  # noqa: E402
import report  # noqa: E402
from readings import Reading, levels_of, local_queue, reading_of, udp_queues  # noqa: E402

WORDS = {"90s": 90, "30m": 1800, "2h": 7200, "1s": 1, "168h": 604800}
WRONG_WORDS = ["", "0s", "-1s", "30", "m", "1.5h", "30 m", "30M", "1h30m", "169h", "1000000s", "٣s"]


@pytest.mark.parametrize("text", WORDS)
def test_a_duration_has_a_unit(text):
    assert duration.seconds_of(text) == WORDS[text]


@pytest.mark.parametrize("text", WRONG_WORDS)
def test_a_wrong_duration_is_told_what_is_allowed(text):
    with pytest.raises(ValueError) as caught:
        duration.seconds_of(text)
    assert str(caught.value) == f"'{text}' is no duration; allowed: 1s to 168h, such as 90s, 30m or 2h"


def test_a_duration_is_shown_as_on_a_clock():
    assert [duration.text_of(seconds) for seconds in (5, 65, 3725.9)] == ["0:05", "1:05", "1:02:05"]


def soak(*words, **more):
    return subprocess.run([ROOT / "soak", *words], capture_output=True, text=True, timeout=150, cwd="/tmp",
                          env={**os.environ, "PONMGR_BUILD": str(BUILD), "PONMGR_SOAK": "/tmp/soak"}, **more)


@pytest.mark.parametrize("words, complaint", [
    (["soon"], "argument DURATION: 'soon' is no duration; allowed: 1s to 168h, such as 90s, 30m or 2h"),
    (["30s", "--seed", "-1"], "argument --seed: '-1' is out of range; allowed: 0 to 4294967295"),
    (["30s", "--seed", "x"], "argument --seed: 'x' is out of range; allowed: 0 to 4294967295"),
    (["30s", "--onus", "125"], "argument --onus: '125' is out of range; allowed: 1 to 124"),
    (["30s", "--warm-up", "30s"], "a warm-up of 30 s leaves nothing of 30 s"),
    (["30s", "--speed"], "unrecognized arguments: --speed"),
])
def test_a_wrong_command_line_is_told_what_is_allowed(words, complaint):
    done = soak(*words)
    assert (done.returncode, done.stderr.splitlines()[-1]) == (2, f"./soak: error: {complaint}")


def test_a_report_that_cant_be_written_is_refused_at_the_start():
    done = soak("30s", "--report", "nowhere/report.json")
    assert done.returncode == 1
    assert "./soak: the report can't be written to /tmp/nowhere/report.json: No such file" in done.stderr


# What is measured.


def test_lines_are_of_one_kind_whatever_their_numbers():
    lines = ["parseMessage[124]: Response Message ID (6) not handled",
             "parseMessage[124]: Response Message ID (83) not handled"]
    assert {kind for line in lines for kind in log_kinds.kinds_of(line)} == {
        "parseMessage[N]: Response Message ID (N) not handled"}


def test_lines_without_an_end_are_told_from_what_follows():
    line = "doGetAllOnuQueue - ONU not found: 00:0d:b6:01:00:00" * 2 + "x[7]: y"
    assert log_kinds.kinds_of(line) == ["doGetAllOnuQueue - ONU not found: MAC"] * 2 + ["x[N]: y"]


def test_lines_are_counted_and_written_but_only_the_last_are_held():
    lines = log_kinds.CountedLines("/tmp/lines.log")
    for number in range(1000):
        lines.append((0.0, f"line {number}"))
    assert lines.kinds == {"line N": 1000}
    assert len(lines) == log_kinds.KEPT_LINES
    assert Path("/tmp/lines.log").read_text().splitlines()[-1] == "line 999"


def test_kinds_beyond_a_bound_are_counted_as_one():
    lines = log_kinds.CountedLines("/tmp/lines.log")
    for number in range(1000):
        lines.append((0.0, "x" * number))
    assert len(lines.kinds) == log_kinds.MOST_KINDS + 1
    assert lines.kinds[log_kinds.OTHERS] == 1000 - log_kinds.MOST_KINDS


def test_a_process_that_opens_and_takes_more_shows_it():
    before = reading_of(os.getpid())
    held = bytearray(os.urandom(1 << 20) * 16)
    with open("/tmp/one", "w"):
        after = reading_of(os.getpid())
    assert after.descriptors == before.descriptors + 1
    assert after.resident_kb >= before.resident_kb + 15000
    assert len(held) == 1 << 24
    assert levels_of({"this": os.getpid()}, times=2, pause=0)["this"].threads == after.threads


def test_what_waits_at_the_sockets_is_seen():

    assert (udp_queues()[0], local_queue()) == (0, 0)
    held = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    held.bind(("127.0.0.1", 14113))
    local = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    local.bind("/tmp/pmdbman.ipc")
    held.sendto(b"x" * 100, held.getsockname())
    local.sendto(b"x" * 100, "/tmp/pmdbman.ipc")
    assert udp_queues()[0] >= 100
    assert local_queue() > 0


# What the report makes of it.


def levels(*readings, starts=(1, 1)):
    """One program's readings in calms at 100 s, 200 s and so on."""
    return [(100 * (index + 1), {"ponmgrd": starts[index]}, {"ponmgrd": Reading(*reading)})
            for index, reading in enumerate(readings)]


def complaints(*readings, judge=True, warm_up=0, starts=(1, 1)):
    return report.complaints_about_levels(report.levels_compared(levels(*readings, starts=starts), warm_up), judge)


def test_a_level_within_two_per_cent_is_well():
    assert complaints((10000, 9, 28), (10200, 9, 28)) == []
    assert complaints((10000, 9, 28), (5000, 9, 28)) == []


def test_a_level_beyond_two_per_cent_is_wrong():
    assert complaints((10000, 9, 28), (10201, 9, 28)) == [
        "ponmgrd takes 10201 kB at rest, after the warm-up it was 10000 kB"]


def test_sizes_of_a_short_soak_are_not_judged_but_descriptors_are():
    assert complaints((10000, 9, 28), (20000, 10, 27), judge=False) == [
        "ponmgrd has 10 descriptors, after the warm-up it had 9",
        "ponmgrd has 27 threads, after the warm-up it had 28"]


def test_what_was_before_the_warm_up_does_not_count():
    assert complaints((5000, 9, 28), (10000, 9, 28), warm_up=150) == []


def test_a_program_that_was_killed_is_compared_with_the_most_it_was():
    assert complaints((10000, 9, 28), (20000, 9, 28), (20100, 9, 28), starts=(1, 2, 2)) == []
    assert complaints((20000, 9, 28), (10000, 9, 28), (20300, 9, 28), starts=(1, 2, 2)) == []
    assert complaints((10000, 9, 28), (20000, 9, 28), (20500, 9, 28), starts=(1, 2, 2)) == [
        "ponmgrd takes 20500 kB at rest, after the warm-up it was 20000 kB"]


def test_a_program_that_was_killed_last_is_compared_with_what_it_was_before():
    assert complaints((10000, 9, 28), (10200, 9, 28), starts=(1, 2)) == []
    assert complaints((9000, 9, 28), (10000, 9, 28), (10200, 9, 28), starts=(1, 1, 2)) == []
    assert complaints((10000, 9, 28), (20000, 10, 28), starts=(1, 2)) == [
        "ponmgrd takes 20000 kB at rest, after the warm-up it was 10000 kB",
        "ponmgrd has 10 descriptors, after the warm-up it had 9"]


def test_memory_is_summed_up():
    Sample = namedtuple("Sample", ["readings"])
    samples = [Sample({"dbman": Reading(size, 9, 7)}) for size in (100, 400, 300, 200)]
    assert report.memory_curve(samples, "dbman") == {"start": 100, "min": 100, "median": 250, "max": 400,
                                                     "end": 200}
    assert report.memory_curve(samples, "ponmgrd") is None


def test_recoveries_are_summed_up():
    assert report.recoveries([3.04, 10.0, 5.0]) == {"count": 3, "median_s": 5.0, "worst_s": 10.0}
    assert report.recoveries([]) == {"count": 0}


@pytest.mark.parametrize("what, hit, explained", [
    (["card configured, 0 of 64 ONUs"], {"drop"}, True),
    (["card configured, 0 of 64 ONUs"], {"delay", "event-burst"}, False),
    (["card configured, 0 of 64 ONUs"], set(), False),
    (["ONU ('0', '00:0d:b6:01:00:00') is missing in the inventory"], {"drop"}, False),
    (["ONU ('0', '00:0d:b6:01:00:00') is in the inventory alone"], {"flip-bit"}, True),
])
def test_only_some_faults_explain_what_stays_wrong(what, hit, explained):
    assert judgement.is_excused(what, hit) == explained


# The whole of it.


@pytest.fixture
def short_soak():
    """./soak in the background with few ONUs."""
    started = []

    def start(*words):
        started.append(subprocess.Popen(
            [ROOT / "soak", *words, "--onus", "2"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            cwd="/tmp", env={**os.environ, "PONMGR_BUILD": str(BUILD), "PONMGR_SOAK": "/tmp/soak"}))
        return started[0]

    yield start
    for process in started:
        process.kill()
        process.wait()


@pytest.mark.long
@pytest.mark.timeout(600)
def test_a_soak_of_half_a_minute_passes_and_reports(short_soak):
    told, _ = short_soak("30s", "--seed", "11", "--halt", "--kill", "--report", "told.json").communicate(timeout=550)
    assert told.splitlines()[-1] == "The soak has passed.", told
    summary = json.loads(Path("/tmp/told.json").read_text())
    assert (summary["verdict"], summary["seed"], summary["onus"]) == ("passed", 11, 32)
    assert summary["seconds"] >= 30 and not summary["ended_early"]
    assert sum(row["count"] for row in summary["played"]) >= 5
    assert {row["group"] for row in summary["played"]} >= {"fault", "chassis", "command"}
    assert summary["recoveries"]["count"] + len(summary["mended_by_operator"]) >= 1
    assert len(summary["samples"]) >= 3
    assert set(summary["memory_kb"]) == {"chassis-sim", "dbman", "ponmgrd"}
    assert summary["messages"]["datagrams"] > 500 and summary["messages"]["/onu/new"] >= 32


@pytest.mark.long
@pytest.mark.timeout(600)
def test_a_soak_that_is_interrupted_reports_what_was(short_soak):
    process = short_soak("4m", "--seed", "12")
    for line in process.stdout:
        if "everything is in service" in line:
            break
    time.sleep(5)
    process.send_signal(signal.SIGINT)
    told, _ = process.communicate(timeout=300)
    assert process.returncode == 0, told
    assert "SIGINT: ends after one calm more" in told
    assert re.search(r"^Soak of \d:\d\d with 32 ONUs, seed 12, ended early$", told, re.M)
    assert json.loads(Path("/tmp/soak/report.json").read_text())["ended_early"]


@pytest.mark.long
@pytest.mark.timeout(600)
def test_a_soak_fails_when_a_program_ends_by_itself(short_soak):
    process = short_soak("4m", "--seed", "13")
    for line in process.stdout:
        if "everything is in service" in line:
            break
    namespace = os.readlink(f"/proc/{process.pid}/ns/net")
    daemons = [int(pid) for pid in subprocess.run(
        ["pgrep", "-f", f"^{BUILD}/bin/ponmgrd"], capture_output=True, text=True).stdout.split()
        if os.readlink(f"/proc/{pid}/ns/net") == namespace]
    os.kill(*daemons, signal.SIGKILL)
    told, _ = process.communicate(timeout=300)
    assert process.returncode == 1
    assert "Wrong: ponmgrd ended by itself" in told and told.splitlines()[-1] == "The soak has failed."
