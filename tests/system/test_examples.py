"""Every example of the documents, the manual pages and dbman's help works as it stands there."""

import json
import os
import re
import shlex
import signal
import subprocess
from pathlib import Path

import pytest

from conftest import ROOT
from support.endings import BROKEN, ending_well
from support.product import SCENARIOS, program
from support.terminal import TerminalProcess

DOCUMENTS = ["docs/simulator.md", "docs/dbman.md"]
PAGES = ["packaging/man/chassis-sim.1", "packaging/man/dbman.1"]
# What goes on until it is interrupted: the words that tell it, what it shows first, and its status.
SIMULATOR = "chassis-sim"
ENDLESS = {
    "serve": ("dbman ready: ", 0),
    "watch": ("127.0.1.3", 0),
    "events --follow": ("/olt/new slot", 0),
    "journal --follow": (" ctag ", -signal.SIGINT),
    SIMULATOR: ("chassis-sim ready: ", 0),
}
INSTALLED_SCENARIOS = "/usr/share/ponmgr/scenarios"


def lines_of_document(name):
    for block in re.findall(r"^```sh\n(.*?)^```", (ROOT / name).read_text(), re.M | re.S):
        yield from block.splitlines()


def lines_of_page(name):
    text = (ROOT / name).read_text()
    examples = text[text.index(".SH EXAMPLES"):]
    examples = examples[:examples.find("\n.SH", 5)] if "\n.SH" in examples[5:] else examples
    for line in examples.splitlines():
        yield re.sub(r"\\f[BIRP]", "", line.removeprefix(".B ")).replace("\\-", "-").replace(
            "\\(aq", "'")


def lines_of_help(*words):
    """The example of a command of dbman, and those of the commands below it."""
    done = subprocess.run([program("dbman"), *words, "--help"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    sections = dict(re.findall(r"^(\w+):\n((?: +.*\n)+)", done.stdout, re.M))
    yield from map(str.strip, sections["Example"].splitlines())
    for line in sections.get("Subcommands", "").splitlines():
        yield from lines_of_help(*words, line.split()[0])


def examples():
    found = [line for name in DOCUMENTS for line in lines_of_document(name)]
    found += [line for name in PAGES for line in lines_of_page(name)]
    found += lines_of_help()
    commands = [line.split(" #")[0].rstrip() for line in found
                if line.startswith(("chassis-sim", "dbman ", "source "))]
    return list(dict.fromkeys(commands))


def kind_of(line):
    """Which of ENDLESS it is; None for what ends by itself."""
    words = shlex.split(line)
    if words[0] == "chassis-sim":
        # Without a command it is the simulator itself.
        words = words[1:] if words[1:2] == ["ctl"] else [SIMULATOR]
    return next((kind for kind in ENDLESS if set(kind.split()) <= set(words)), None)


@pytest.fixture(autouse=True)
def programs_in_path(monkeypatch):
    monkeypatch.setenv("PATH", f"{program('dbman').parent}:{os.environ['PATH']}")
    monkeypatch.setenv("XDG_STATE_HOME", "/tmp/state")


def run_until_interrupted(line):
    """At a terminal, until it has shown what it has to show and was interrupted then."""
    shown, status = ENDLESS[kind_of(line)]
    with ending_well() as started:
        process = TerminalProcess(f"'{line}'", ["bash", "-c", f"exec {line}"], folder="/tmp")
        started.append(process)
        process.wait_for(shown)
        process.signal(signal.SIGINT)
        assert process.wait_for_end(60) == status, f"{line}: {process.text()}"


def test_the_examples_work_one_after_the_other(chassis):
    chassis("1-8", "--onus", "8", "--configured", "--reset-time", "0")
    # What waits for all to be well comes before what breaks it, and what others need goes last.
    commands = sorted((line for line in examples() if not kind_of(line)),
                      key=lambda line: (" wait " not in line, " remove " in line))
    assert len([line for line in commands if line.startswith("chassis-sim")]) > 10
    assert len([line for line in commands if line.startswith("dbman")]) > 10
    failed = []
    for line in commands:
        done = subprocess.run(["bash", "-o", "pipefail", "-c", line], capture_output=True, text=True,
                              timeout=60)
        if done.returncode != 0 or any(sign in done.stdout + done.stderr for sign in BROKEN):
            failed.append(f"{line}: status {done.returncode}: {done.stdout}{done.stderr}")
    assert failed == []


@pytest.mark.parametrize("name", ["chassis-sim", "dbman"])
def test_the_completion_that_is_sourced_is_that_of_the_program(name):
    lines = [line for line in examples() if line.startswith("source ") and name in line]
    assert lines
    for line in lines:
        done = subprocess.run(["bash", "-c", f"{line} && complete -p {name}"], capture_output=True,
                              text=True, timeout=60)
        assert (done.returncode, done.stderr) == (0, "")
        assert done.stdout.endswith(f" {name}\n")


def test_what_follows_or_watches_goes_on_until_it_is_interrupted(chassis):
    chassis("1-8", "--onus", "1", "--configured")
    lines = [line for line in examples()
             if kind_of(line) in ("watch", "events --follow", "journal --follow")]
    assert {kind_of(line) for line in lines} == {"watch", "events --follow", "journal --follow"}
    for line in lines:
        run_until_interrupted(line)


def test_every_way_to_start_dbman_is_one():
    text = (ROOT / "docs/dbman.md").read_text()
    configuration = re.search(r"^```json\n(.*?)^```", text, re.M | re.S).group(1)
    assert json.loads(configuration)["slots"]
    Path("/tmp/slots.json").write_text(configuration)
    lines = [line for line in examples() if kind_of(line) == "serve"]
    assert len(lines) >= 3
    for line in lines:
        run_until_interrupted(line)


def test_every_way_to_start_the_simulator_is_one():
    lines = [line for line in examples() if kind_of(line) == SIMULATOR]
    assert len(lines) >= 4
    for line in lines:
        run_until_interrupted(line.replace(INSTALLED_SCENARIOS, str(SCENARIOS)))


@pytest.mark.parametrize("page", PAGES)
def test_every_manual_page_has_examples(page):
    assert any("chassis-sim" in line or "dbman" in line for line in lines_of_page(page))
