"""Every example of the documents and the manual pages works as it stands there."""

import os
import re
import shlex
import subprocess

import pytest

from conftest import ROOT
from support.product import program

DOCUMENTS = ["docs/simulator.md", "docs/dbman.md"]
PAGES = ["packaging/man/chassis-sim.1", "packaging/man/dbman.1"]
# What runs until it is stopped; the other tests do that.
ENDLESS = {"serve", "watch", "--follow", "--scenario"}


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


def examples():
    """Commands for what runs already; the commands that start it are not among them."""
    found = [line for name in DOCUMENTS for line in lines_of_document(name)]
    found += [line for name in PAGES for line in lines_of_page(name)]
    for line in found:
        if not line.startswith(("chassis-sim ctl ", "dbman ")):
            continue
        words = shlex.split(line, comments=True)
        if not ENDLESS & set(words):
            yield line.split(" #")[0].rstrip()


def test_the_examples_work_one_after_the_other(chassis, monkeypatch):
    chassis("1-8", "--onus", "8", "--configured", "--reset-time", "0")
    # What waits for all to be well comes before what breaks it.
    commands = sorted(dict.fromkeys(examples()), key=lambda line: " wait " not in line)
    assert len([line for line in commands if line.startswith("chassis-sim")]) > 10
    assert len([line for line in commands if line.startswith("dbman")]) > 10
    monkeypatch.setenv("PATH", f"{program('dbman').parent}:{os.environ['PATH']}")
    failed = []
    for line in commands:
        done = subprocess.run(["bash", "-o", "pipefail", "-c", line], capture_output=True, text=True,
                              timeout=60)
        if done.returncode != 0:
            failed.append(f"{line}: status {done.returncode}: {done.stdout}{done.stderr}")
    assert failed == []


@pytest.mark.parametrize("page", PAGES)
def test_every_manual_page_has_examples(page):
    assert any("chassis-sim" in line or "dbman" in line for line in lines_of_page(page))
