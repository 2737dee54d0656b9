"""What ./bench does with its cases: one that fails, what it keeps of earlier runs, and what it writes into the
document. The cases are made up here."""

import json
import re
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT
from support import namespace

PLAYED = '''
import os, runpy, sys
from pathlib import Path
from types import SimpleNamespace

from benchmarks.suite import cases
from benchmarks.suite.rows import Row

def steady(bench):
    return [Row("speed", "floor", [1.0, 3.0, 2.0], at_most=2.5, credible_from=0.97)]

def failing(bench):
    process = bench.start("talker", "-c", "echo on its way; exec sleep 600", program="/bin/sh")
    process.wait_for_line("on its way")
    Path("{folder}/talker").write_text(str(process.pid))
    raise ValueError("no card answers")

def vanishing(bench):
    os._exit(0)

def impossible(bench):
    return [Row("miracle", "floor", [0.5], at_most=1.1, credible_from=0.97), *steady(bench)]

def apart(bench):
    return [Row("files in /tmp", "", [float(len(set(os.listdir("/tmp")) - {"build"}))]),
            Row("work", "", [bench.pick(5.0, 1.0)])]

played = (steady, failing, vanishing, impossible, apart)
cases.ALL.clear()
cases.ALL.update({case.__name__: SimpleNamespace(NAME=case.__name__, ANSWERS="what", run=case,
                                                 IN_QUICK=case is not apart) for case in played})
runpy.run_module("benchmarks.suite", run_name="__main__", alter_sys=True)
'''
BUILD = Path("/tmp/build")


@pytest.fixture(autouse=True)
def build():
    BUILD.mkdir()
    Path("/tmp/played.py").write_text(PLAYED.replace("{folder}", str(BUILD)))


@pytest.fixture(autouse=True)
def document():
    """Hides the document, so that none is written that anybody reads."""
    path = Path("/tmp/performance.md")
    path.write_text("# Speed\n" + "".join(f"<!-- bench {name} -->\nold {name}\n<!-- end {name} -->\n"
                                          for name in ("machine", "steady", "failing", "apart")) + "the end\n")
    namespace.mount(str(path), str(ROOT / "docs" / "performance.md"), None, namespace.MS_BIND)
    return path


def bench(*words):
    return subprocess.run([sys.executable, "-c", "exec(open('/tmp/played.py').read())", BUILD, *words], cwd=ROOT,
                          capture_output=True, text=True, timeout=120)


def results(name="results.json"):
    return json.loads((BUILD / name).read_text())["cases"]


TABLE = "speed  floor    2.00    1.00..3.00  3     at most 2.50: met"


def test_a_case_that_fails_leaves_the_tables_of_the_others():
    done = bench("failing", "steady")
    assert done.returncode == 1
    assert TABLE in done.stdout
    assert "the case failing failed" in done.stderr and "ValueError: no card answers" in done.stderr
    assert "these cases failed: failing" in done.stderr
    assert list(results()) == ["steady"]


def test_a_case_that_fails_shows_what_its_programs_said_and_ends_them():
    done = bench("failing")
    assert "--- talker:\non its way" in done.stderr
    assert not Path("/proc", (BUILD / "talker").read_text()).exists()


def test_a_case_whose_process_is_gone_has_failed():
    done = bench("vanishing", "steady")
    assert done.returncode == 1
    assert "the case vanishing failed:\nits process ended without a result" in done.stderr
    assert TABLE in done.stdout


def test_all_is_well_when_no_case_fails():
    done = bench("steady", "apart")
    assert done.returncode == 0, done.stderr
    assert "failed" not in done.stderr
    assert TABLE in done.stdout and str(len(results())) == "2"


def test_a_case_has_a_folder_for_temporary_files_of_its_own():
    assert bench("apart").returncode == 0
    assert results()["apart"]["rows"][0]["runs"] == [0.0]


def test_a_figure_below_its_floor_fails_the_case_and_is_not_kept():
    done = bench("impossible", "steady")
    assert done.returncode == 1
    assert "miracle" in done.stdout
    assert "faster than its floor: miracle\n" in done.stderr
    assert list(results()) == ["steady"]


def test_a_quick_run_asserts_nothing_and_leaves_the_figures_of_a_whole_one():
    assert bench("steady", "apart").returncode == 0
    done = bench("--quick", "impossible", "apart")
    assert done.returncode == 0, done.stderr
    assert results()["apart"]["rows"][1]["runs"] == [5.0]
    assert list(results()) == ["steady", "apart"]


def test_a_quick_run_leaves_out_what_is_long():
    done = bench("--quick")
    assert done.returncode == 1
    assert "failing vanishing\n" in done.stderr
    assert "files in /tmp" not in done.stdout and "miracle" in done.stdout


def test_cases_that_were_not_run_keep_their_figures():
    assert bench("apart").returncode == 0
    earlier = results()["apart"]
    assert bench("steady").returncode == 0
    assert bench("failing").returncode == 1
    assert results()["apart"] == earlier
    assert list(results()) == ["apart", "steady"]


def test_the_document_has_the_tables_of_the_cases_that_were_run(document):
    assert bench("--write", "steady", "failing").returncode == 1
    text = document.read_text()
    assert "| speed | floor | 2.00 | 1.00..3.00 | 3 | at most 2.50: met |\n<!-- end steady -->" in text
    assert "old steady" not in text and "old machine" not in text
    assert "old failing" in text and "old apart" in text
    assert re.search(r"steady -->\n20\d\d-\d\d-\d\d, version \S+, with a load of [\d.]+ before it\.\n\n\|", text)
    assert text.startswith("# Speed\n<!-- bench machine -->\nMeasured on ") and text.endswith("the end\n")


def test_the_document_is_not_written_without_being_asked(document):
    before = document.read_text()
    assert bench("steady").returncode == 0
    assert document.read_text() == before
