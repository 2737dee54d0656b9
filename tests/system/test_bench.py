"""The command line of ./bench, and that its document has a place for each case."""

import subprocess
import sys

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import table  # noqa: E402
from benchmarks.suite.cases import ALL  # noqa: E402


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
