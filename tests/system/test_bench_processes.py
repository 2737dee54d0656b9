"""What ./bench reads of a process in /proc: on a process whose files are made up by hand."""

import os
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT
from support import namespace

sys.path.insert(0, str(ROOT))

from benchmarks.suite import processes  # noqa: E402

# The fields behind the name: state, parent, group, session, terminal, its group, flags, then page faults (minor,
# the children's, major, the children's) and ticks (user, system, the children's user and system).
STAT = "4711 (a) b (c) S 1 2 3 4 5 6 {minor} 90000 {major} 80000 50 60 {user} {system} 20 0 3 0 100 1 2\n"
STATUS = ("Name:\tx: y\nVmRSS:\t   4096 kB\nRssAnon:\t    1024 kB\nThreads:\t{threads}\n"
          "voluntary_ctxt_switches:\t{wake_ups}\nnonvoluntary_ctxt_switches:\t{taken}\n")


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


@pytest.fixture
def process():
    """The number of a process, and a folder that hides what /proc says of it."""
    folder = Path("/tmp/proc")
    folder.mkdir()
    with subprocess.Popen(["sleep", "600"]) as sleeper:
        namespace.mount(str(folder), f"/proc/{sleeper.pid}", None, namespace.MS_BIND)
        yield sleeper.pid, folder
        subprocess.run(["umount", f"/proc/{sleeper.pid}"], check=True)
        sleeper.kill()


def fill(folder, minor=7, major=2, user=30, system=12):
    write(folder / "stat", STAT.format(minor=minor, major=major, user=user, system=system))
    write(folder / "status", STATUS.format(threads=3, wake_ups=100000, taken=200000))
    for task, spent, wake_ups, taken in ((11, 1_500_000_000, 10, 3), (12, 250_000_000, 200, 40)):
        write(folder / "task" / str(task) / "schedstat", f"{spent} 777 888\n")
        write(folder / "task" / str(task) / "status", STATUS.format(threads=3, wake_ups=wake_ups, taken=taken))


def test_a_sample_adds_up_the_threads(process):
    pid, folder = process
    fill(folder)
    sample = processes.sample(pid)
    assert sample.cpu == pytest.approx(1.75)
    assert sample.wake_ups == 210
    assert sample.switches == 253


def test_the_time_of_children_is_that_of_those_that_ended(process):
    pid, folder = process
    fill(folder, user=30, system=12)
    assert processes.sample(pid).children_cpu == pytest.approx(42 / os.sysconf("SC_CLK_TCK"))


def test_page_faults_are_the_minor_and_the_major_ones_without_the_childrens(process):
    pid, folder = process
    fill(folder, minor=7, major=2)
    assert processes.sample(pid).faults == 9


def test_the_resident_memory_is_in_bytes(process):
    pid, folder = process
    fill(folder)
    assert processes.resident_bytes(pid) == 4096 * 1024
    assert processes.threads(pid) == 3


def test_what_the_kernel_writes_can_be_read():
    before = processes.sample(os.getpid())
    sum(range(1_000_000))
    after = processes.sample(os.getpid())
    assert after.cpu > before.cpu
    assert after.faults >= before.faults > 0
    assert processes.threads(os.getpid()) >= 1
    assert processes.resident_bytes(os.getpid()) > 1 << 20
