"""./run: the whole product by one command, and how it ends."""

import os
import pty
import re
import select
import signal
import sqlite3
import subprocess
import time
from pathlib import Path

import pytest

from conftest import BUILD, ROOT
from support.waiting import wait_for

LOGS = Path("/tmp/run")


@pytest.fixture(autouse=True)
def programs_as_built(monkeypatch):
    monkeypatch.setenv("PONMGR_BUILD", str(BUILD))
    monkeypatch.setenv("PONMGR_RUN", str(LOGS))


def run(*words, folder="/tmp"):
    return subprocess.run([ROOT / "run", *words], capture_output=True, text=True, cwd=folder, timeout=150)


def started(*words):
    """./run in the background, line by line."""
    process = subprocess.Popen([ROOT / "run", *words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               text=True, cwd="/tmp", start_new_session=True)
    wait_for(lambda: os.path.exists("/tmp/dbpman.ipc"), 60)
    return process


def programs_left(pattern=""):
    """The numbers of our own programs that run in this test's namespace."""
    found = subprocess.run(["pgrep", "-f", f"^{BUILD}/bin/{pattern}"], capture_output=True, text=True)
    namespace = os.readlink("/proc/self/ns/net")
    return [int(pid) for pid in found.stdout.split() if _namespace_of(pid) == namespace]


def _namespace_of(pid):
    try:
        return os.readlink(f"/proc/{pid}/ns/net")
    except OSError:
        return None


def notifications():
    with sqlite3.connect(LOGS / "dbman.db") as database:
        return database.execute("SELECT count(*) FROM notifications").fetchone()[0]


@pytest.mark.parametrize("words, complaint", [
    (["--fast"], "unknown option '--fast'; ./run --help lists them"),
    (["--timeout", "0"], "--timeout takes a number of seconds from 1 to 86400, not '0'"),
    (["--timeout", "86401"], "--timeout takes a number of seconds from 1 to 86400, not '86401'"),
    (["--onus", "125"], "--onus takes a number from 0 to 124, not '125'"),
    (["--onus"], "--onus takes a number from 0 to 124, not ''"),
    (["--scenario", "no-day"], "no scenario 'no-day': neither a file nor one of bad-day.jsonl fibre-cut.jsonl"
                               " quiet-day.jsonl"),
])
def test_a_mistake_on_the_command_line_is_named(words, complaint):
    done = run(*words)
    assert (done.returncode, done.stderr) == (2, f"./run: {complaint}\n")


def test_once_ends_with_the_tables_and_tells_what_may_be_done_next():
    done = run("--once", "--onus", "1")
    assert done.returncode == 0, done.stdout + done.stderr
    assert len(re.findall(r"^[1-8] +127\.0\.1\.[1-8] +on-line", done.stdout, re.M)) == 8
    assert len(re.findall(r"^00:0d:b6:0[1-8]:0[01]:00 +[1-8] +[01] +on-line", done.stdout, re.M)) == 16
    assert f"The database is {LOGS}/dbman.db, the logs are {LOGS}/*.log" in done.stdout
    assert programs_left() == []
    first = notifications()
    # kept by --keep, and begun anew without
    assert run("--once", "--onus", "1", "--keep").returncode == 0
    assert notifications() > first * 1.5
    assert run("--once", "--onus", "1").returncode == 0
    assert notifications() < first * 1.5


def test_once_says_what_is_missing_when_its_time_is_up():
    done = run("--once", "--onus", "1", "--timeout", "1")
    assert done.returncode == 1
    assert "./run: not every card was in service after 1 s" in done.stderr
    assert programs_left() == []


def test_a_scenario_is_found_where_the_caller_stands():
    Path("/tmp/mine").mkdir()
    Path("/tmp/mine/day.jsonl").write_text('{"at": "10ms", "ctl": "onu 3/0/0 fade 1"}\n')
    done = run("--once", "--onus", "1", "--scenario", "day.jsonl", folder="/tmp/mine")
    assert done.returncode == 0, done.stdout + done.stderr
    assert "onu 3/0/0 fade 1" in (LOGS / "chassis-sim.log").read_text()


def test_a_second_run_is_refused():
    first = started("--onus", "0")
    second = run("--once")
    assert second.returncode == 1
    assert "another ./run is running on this machine; stop it" in second.stderr
    first.send_signal(signal.SIGINT)
    output, _ = first.communicate(timeout=30)
    assert first.returncode == 130
    assert "./run has ended. The database is" in output
    assert programs_left() == []


def test_a_program_that_ends_is_named():
    process = started("--onus", "0")
    wait_for(lambda: "dbman ready" in (LOGS / "dbman.log").read_text(), 30)
    manager, = programs_left("dbman serve")
    os.kill(manager, signal.SIGKILL)
    output, _ = process.communicate(timeout=30)
    assert process.returncode == 1
    assert f"./run: dbman ended; its last lines are in {LOGS}/dbman.log" in output
    assert programs_left() == []


def read_until(terminal, text, limit=60.0):
    seen, end = "", time.monotonic() + limit
    while text not in seen and time.monotonic() < end:
        if select.select([terminal], [], [], 0.5)[0]:
            try:
                part = os.read(terminal, 65536)
            except OSError:
                break
            seen += part.decode(errors="replace")
    assert text in seen, seen[-2000:]
    return seen


@pytest.mark.parametrize("key, status", [(b"q", 0), (b"\x03", 130)])
def test_in_a_terminal_it_shows_a_picture_and_ends_by_key(key, status):
    child, terminal = pty.fork()
    if child == 0:
        os.execv(ROOT / "run", ["run", "--onus", "1"])
    read_until(terminal, "127.0.1.8  on-line")
    os.write(terminal, key)
    ending = read_until(terminal, "chassis-sim ctl onu 3/0/7 unplug")
    assert "./run has ended. The database is" in ending
    _, result = os.waitpid(child, 0)
    assert os.waitstatus_to_exitcode(result) == status
    assert programs_left() == []
