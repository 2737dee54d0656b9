"""What ./bench makes of the programs that a case starts: on programs made up here."""

import sys
from pathlib import Path

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite.surroundings import Bench  # noqa: E402


def bench(script, quick=False):
    program = Path("/tmp/bin/program")
    program.parent.mkdir(exist_ok=True)
    program.write_text("#!/bin/sh\n" + script)
    program.chmod(0o755)
    return Bench(Path("/tmp"), quick)


def test_each_line_of_an_answer_is_told():
    assert bench("""echo '{"lost": 1}'; echo "{\\"words\\": \\"$*\\"}" """).ask("program", "lost", "--count", 5) == [
        {"lost": 1}, {"words": "lost --count 5"}]


def test_a_program_that_fails_is_named_with_its_words_and_what_it_said():
    with pytest.raises(RuntimeError, match="^program lost --count 5 failed: no card answers$"):
        bench("echo '{}'; echo no card answers >&2; exit 3").ask("program", "lost", "--count", 5)


def test_what_was_started_ends_when_all_is_stopped_the_last_one_first():
    playing = bench("echo ready; exec sleep 600")
    started = [playing.start("program") for _ in range(3)]
    for process in started:
        process.wait_for_line("ready")
    ended = []
    for process in started:
        stop = process.stop
        process.stop = lambda process=process, stop=stop: (ended.append(process), stop())
    playing.stop(started[1])
    playing.stop_all()
    assert ended == [started[1], started[2], started[0]]
    assert not any(process.is_running() for process in started)
    assert playing.running == []


def test_a_quick_run_does_less():
    assert (bench("", quick=True).pick(5, 3), bench("").pick(5, 3)) == (3, 5)
    assert bench("").runs >= 5 > bench("", quick=True).runs
