"""What the machine has no more of: room for the log, processes."""

import os
import re
import resource
import subprocess
import time
from pathlib import Path

import pytest

from support import namespace
from support.card import GET_DOMAINS, Card
from support.other_users import SOMEBODY, need_other_users, of_somebody, open_to_all
from support.peer import NOTIFICATIONS
from support.product import control, inventory, program, wait_for_agreement
from support.waiting import wait_for

LONG = pytest.mark.long
PAGE = 4096
CANNOT_FORK = "Cannot fork"  # the shell's words
SLOT = 3  # its first probe comes after three seconds


# --- room for the log ---

@pytest.fixture
def small_disk():
    """A disk with room for a page, and a file that takes three more."""
    disk = Path("/tmp/disk")
    disk.mkdir()
    namespace.mount("tmpfs", str(disk), "tmpfs", 0, f"size={4 * PAGE}")
    (disk / "filler").write_bytes(bytes(3 * PAGE))
    return disk


def test_a_full_disk_loses_lines_of_the_log_and_nothing_else(processes, peer, small_disk):
    log = small_disk / "log"
    daemon = processes("/bin/sh", "-c", f'exec "$0" > {log}', program("ponmgrd"))
    peer.wait_for("/olt/get/all/ip")
    for number in range(100):
        peer.send_text(f"nonsense {number:03}")
    inserted = Card(1, marked=True)
    peer.address(1)
    inserted.wait_for(GET_DOMAINS)  # so all that came before has been printed, or lost
    assert log.stat().st_size == PAGE

    (small_disk / "filler").unlink()
    peer.send_text("nonsense after")
    wait_for(lambda: log.read_text().endswith("nonsense after\n"), 30, log.read_text)
    *whole, cut, after = log.read_text().splitlines()
    assert 30 < len(whole) < 100
    prefix, = {re.sub(r"\d{3}$", "", line) for line in (*whole, after.replace("after", "000"))}
    assert whole == [f"{prefix}{number:03}" for number in range(len(whole))]
    assert f"{prefix}{len(whole):03}".startswith(cut)
    assert daemon.is_running()


def limit_files(process, most):
    """So long may each file be that it writes; None is the usual limit."""
    limit = "unlimited" if most is None else most
    subprocess.run(["/usr/bin/prlimit", f"--pid={process.pid}", f"--fsize={limit}:"], check=True)


def test_a_log_as_long_as_a_file_may_be_loses_lines_and_nothing_else(processes, peer):
    log = Path("/tmp/log")
    daemon = processes("/bin/sh", "-c", f'exec "$0" > {log}', program("ponmgrd"))
    peer.wait_for("/olt/get/all/ip")
    limit_files(daemon, PAGE)
    for number in range(100):
        peer.send_text(f"nonsense {number:03}")
    inserted = Card(1, marked=True)
    peer.address(1)
    inserted.wait_for(GET_DOMAINS)
    assert log.stat().st_size == PAGE
    limit_files(daemon, None)
    peer.send_text("nonsense after")
    wait_for(lambda: log.read_text().endswith("nonsense after\n"), 30, log.read_text)
    assert daemon.is_running()


def test_chassis_sim_goes_on_beside_a_journal_as_long_as_a_file_may_be(chassis):
    journal = Path("/tmp/journal.jsonl")
    simulator, _, _ = chassis("1", "--onus", "1", "--configured", "--journal-file", journal)
    limit_files(simulator, PAGE)
    wait_for(lambda: simulator.count("/tmp/journal.jsonl") == 1, 30)
    control("onu", "1/0/0", "unplug")
    wait_for(lambda: len(inventory()[1]) == 1, 30)
    wait_for_agreement()
    assert simulator.is_running()


def test_dbman_goes_on_beside_a_database_as_long_as_a_file_may_be(chassis):
    _, manager, _ = chassis("1", "--onus", "1", "--configured")
    limit_files(manager, PAGE)
    assert control("onu", "1/0/0", "unplug")
    wait_for(lambda: len(inventory()[1]) == 1, 30)
    limit_files(manager, None)
    wait_for_agreement()
    assert manager.is_running()


# --- processes ---

@pytest.fixture
def daemon_of_somebody(processes, peer):
    """As root the daemon would start as many processes as it likes."""
    need_other_users()
    os.chmod(NOTIFICATIONS, 0o666)
    daemon = processes(*of_somebody(open_to_all("ponmgrd")))
    peer.wait_for("/olt/get/all/ip")
    return daemon


def limit_processes(process, most):
    """So many of somebody's, threads included, before this one of his can't start another; None is the usual limit."""
    hard = resource.getrlimit(resource.RLIMIT_NPROC)[1]
    limit = most if most is not None else "unlimited" if hard == resource.RLIM_INFINITY else hard
    # by himself, since not every root may
    subprocess.run(["/usr/bin/prlimit", f"--pid={process.pid}", f"--nproc={limit}:"], check=True, user=SOMEBODY,
                   group=SOMEBODY, extra_groups=[])


@pytest.mark.parametrize("spare", [pytest.param(0, marks=LONG), 1, pytest.param(2, marks=LONG)])
def test_without_processes_no_card_is_taken_for_dead_and_one_that_is_gone_is_noticed_later(daemon_of_somebody, peer,
                                                                                           spare):
    """There is no process left for the shell, for ping, or for what reads ping's words."""
    daemon, inserted = daemon_of_somebody, Card(SLOT, marked=True)
    peer.address(SLOT)
    inserted.wait_for(GET_DOMAINS)
    wait_for(lambda: namespace.pings_answered() > 0 and on_line(peer), 40)
    gone = times_gone(peer)
    limit_processes(daemon, len(os.listdir(f"/proc/{daemon.pid}/task")) + spare)
    namespace.answer_ping(False)
    if spare:
        daemon.wait_for_line(CANNOT_FORK, 40)
        time.sleep(1)  # a probe that fails is repeated at once
        assert daemon.count(CANNOT_FORK) == 1, "this one counts as answered"
    else:
        time.sleep(11)  # a probe was due
    assert on_line(peer) and times_gone(peer) == gone

    limit_processes(daemon, None)
    wait_for(lambda: times_gone(peer) == gone + 1, 40)


def on_line(peer):
    """Whether the card is shown so."""
    return peer.messages("/olt/new", SLOT)[-1]["data"]["online_status"] == "1"


def times_gone(peer):
    """How often the daemon has forgotten the card, for whatever reason."""
    return len(peer.messages("/onu/set/all/offline", SLOT))
