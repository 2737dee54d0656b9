"""Every test runs in a forked process with namespaces of its own (pytest --forked), so all of them can
run side by side. The output of the product's processes is shown when a test fails, and it fails when one of them
ended by itself, or said that it is broken."""

import os
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(Path(__file__).resolve().parent))

from support import namespace  # noqa: E402
from support.card import Card  # noqa: E402
from support.endings import ending_well  # noqa: E402
from support.peer import Peer  # noqa: E402
from support.process import Process  # noqa: E402
from support.product import BUILD, chassis, program  # noqa: E402, F401


@pytest.fixture(autouse=True)
def private_namespace():
    namespace.enter(ROOT, BUILD)


@pytest.fixture
def processes():
    """Starts processes of the product; when the test ends, ends them and looks at how they ended."""
    with ending_well() as started:

        def start(name, *arguments):
            process = Process(name, [program(name), *arguments])
            started.append(process)
            return process

        yield start


@pytest.fixture
def peer():
    return Peer()


@pytest.fixture
def daemon(processes, peer):
    """The daemon beside a peer that listens, ready to be given commands."""
    process = processes("ponmgrd")
    peer.wait_for("/olt/get/all/ip")
    return process


@pytest.fixture
def card(daemon, peer):
    """Puts a scripted card into a slot and tells the daemon its address."""

    def insert(slot, **state):
        inserted = Card(slot, **state)
        peer.address(slot)
        return inserted

    return insert


@pytest.fixture
def freed_memory(monkeypatch):
    """Has the address sanitizer give freed memory back soon, so that what is in use can be measured."""
    options = os.environ.get("ASAN_OPTIONS", "")
    monkeypatch.setenv("ASAN_OPTIONS",
                       f"{options}:quarantine_size_mb=4:thread_local_quarantine_size_kb=64")
