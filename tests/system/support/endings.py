"""How the programs of a test end with it, and what must not have become of them until then."""

import os
import signal
import subprocess
from contextlib import contextmanager
from pathlib import Path

# What a broken program says, whatever its status is.
TERMINATED = "terminate called"
BROKEN = ("Sanitizer", "runtime error:", TERMINATED)
# They end by SIGTERM with the status 0 and free what they have; a leak is told then, and changes the status. The
# daemon does nothing about signals.
ENDED_BY_REQUEST = {"chassis-sim", "dbman"}
TIME_TO_END = 60


def _ended_by_request(process, limit):
    """Ends a program that does so by SIGTERM; gives what is wrong with that."""
    # A test that has failed can have stopped it. Not the other way round: SIGCONT takes pending stops away, also
    # that by which the search for leaks halts the program.
    for number in (signal.SIGCONT, signal.SIGTERM):
        os.kill(process.pid, number)
    try:
        status = process.wait_for_end(limit)
    except subprocess.TimeoutExpired:
        process.stop()
        return [f"{process.name} did not end within {limit} s of SIGTERM"]
    return [f"{process.name} ended by SIGTERM with {status}, not 0"] if status != 0 else []


def _said(process):
    """The lines by which a program says that it is broken, as complaints."""
    signs = [sign for sign in BROKEN if not (sign == TERMINATED and process.may_terminate)]
    return [f"{process.name} said: {line}" for line in process.texts() if any(sign in line for sign in signs)]


def end(process, limit=TIME_TO_END):
    """Ends a process, if it runs, and shows its output; gives complaints: sentences that say how it broke."""
    running, complaints = process.is_running(), []
    if running and Path(process.name).name in ENDED_BY_REQUEST:
        complaints = _ended_by_request(process, limit)
    elif not running and not process.awaited:
        complaints = [f"{process.name} had ended by itself with {process.wait_for_end()}"]
    status = process.stop()
    complaints += _said(process)
    print(f"--- {process.name} ended with {status}; its output:\n{process.output()}")
    return complaints


@contextmanager
def ending_well():
    """A list to put processes in. At the end each is ended, the last first; fails when one of them is broken, or
    has ended by itself and nobody waited for that."""
    started = []
    yield started
    complaints = [complaint for process in reversed(started) for complaint in end(process)]
    assert complaints == [], "\n".join(complaints)
