"""./run: the whole product by one command, and how it ends."""

import fcntl
import os
import pty
import re
import select
import shutil
import signal
import socket
import sqlite3
import subprocess
import time
from pathlib import Path

import pytest

from conftest import BUILD, ROOT
from support.other_users import NOBODY, need_other_users
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


def test_what_it_tells_to_try_works_where_the_caller_stands():
    with open("/tmp/shown", "w") as shown:
        process = subprocess.Popen([ROOT / "run", "--onus", "1"], stdout=shown, stderr=shown, cwd="/tmp",
                                   start_new_session=True)
    wait_for(lambda: " ctl onu " in Path("/tmp/shown").read_text(), 60)
    lines = re.findall(r"^  (/.*)$", Path("/tmp/shown").read_text(), re.M)
    commands = [line for line in lines if "(a console" not in line]
    assert len(commands) == 6
    Path("/tmp/elsewhere").mkdir()
    for command in commands:
        wait_for(lambda: subprocess.run(command, shell=True, cwd="/tmp/elsewhere",  # noqa: B023
                                        capture_output=True).returncode == 0, 60)
    process.send_signal(signal.SIGINT)
    assert process.wait(60) == 130


def test_without_onus_it_tells_nothing_to_try_with_one():
    done = run("--once", "--onus", "0")
    assert done.returncode == 0, done.stdout + done.stderr
    assert "dbman card list" in done.stdout
    assert "optics" not in done.stdout
    assert "ctl onu" not in done.stdout


def test_the_lock_of_another_user_is_no_obstacle():
    """A copy that everybody may read, and programs that aren't there: what counts is how far it gets."""
    need_other_users()
    Path("/tmp/product/tools").mkdir(parents=True)
    shutil.copy(ROOT / "run", "/tmp/product/run")
    shutil.copy(ROOT / "tools/packages.sh", "/tmp/product/tools/packages.sh")
    os.mkdir("/tmp/theirs", 0o777)
    os.chmod("/tmp/theirs", 0o777)
    Path("/tmp/ponmgr-run.lock").touch(0o644)

    def run_as_somebody_else():
        variables = {**os.environ, "PONMGR_BUILD": "/tmp/none", "PONMGR_RUN": "/tmp/theirs/run"}
        return subprocess.run(["/tmp/product/run", "--once"], capture_output=True, text=True, cwd="/tmp",
                              env=variables, user=NOBODY, group=NOBODY, extra_groups=[], timeout=60)

    assert "chassis-sim ended before it was ready" in run_as_somebody_else().stderr
    with open("/tmp/ponmgr-run.lock") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        assert run_as_somebody_else().stderr == (
            "./run: another ./run is running on this machine; stop it (Ctrl-C in its terminal) first\n")
    os.chmod("/tmp/ponmgr-run.lock", 0o600)
    assert run_as_somebody_else().stderr == (
        "./run: can't read /tmp/ponmgr-run.lock, which keeps two ./run from running at a time; remove it\n")


def test_a_socket_that_a_killed_daemon_has_left_is_no_daemon(monkeypatch):
    programs = Path("/tmp/build/bin")
    programs.mkdir(parents=True)
    for name in ("chassis-sim", "dbman"):
        (programs / name).symlink_to(BUILD / "bin" / name)
    (programs / "ponmgrd").write_text("#!/bin/sh\nsleep 2\nexit 1\n")
    (programs / "ponmgrd").chmod(0o755)
    monkeypatch.setenv("PONMGR_BUILD", "/tmp/build")
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as left:
        left.bind("/tmp/dbpman.ipc")
    done = run("--once", "--onus", "0", "--timeout", "10")
    assert done.returncode == 1
    assert "./run: ponmgrd ended before it was listening for commands" in done.stderr


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
    ending = read_until(terminal, "chassis-sim ctl onu 3/0/0 unplug")
    assert "./run has ended. The database is" in ending
    _, result = os.waitpid(child, 0)
    assert os.waitstatus_to_exitcode(result) == status
    assert programs_left() == []
