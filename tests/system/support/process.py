"""A process of the product with its output, line by line, and the time each line came."""

import ctypes
import fcntl
import os
import signal
import subprocess
import threading
import time
from contextlib import contextmanager, suppress

from .waiting import wait_for

PR_SET_PDEATHSIG = 1
F_SETPIPE_SZ = 1031


def die_with_parent():
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def _die_with_parent_alone():
    os.setsid()
    die_with_parent()


@contextmanager
def halted(process):
    """It does nothing in between, and is there."""
    os.kill(process.pid, signal.SIGSTOP)
    try:
        yield
    finally:
        os.kill(process.pid, signal.SIGCONT)


class Child:
    """How a process ends. Those below start it, and a thread that collects what it prints until it ends."""

    def __init__(self, name, process):
        self.name = name
        self.process = process
        # Whether somebody has waited for its end, and whether that was to be by an uncaught exception.
        self.awaited = False
        self.may_terminate = False
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    @property
    def pid(self):
        return self.process.pid

    def output(self):
        return "\n".join(self.texts()) or "(nothing)"

    def wait_for_end(self, limit=30.0):
        """Its status, once it has ended and all that it has printed is there."""
        status = self.process.wait(limit)
        self.awaited = True
        self.reader.join(limit)
        return status

    def wait_for_termination(self, limit=30.0):
        """Its end by an exception that nobody catches, which the test is about."""
        self.may_terminate = True
        status = self.wait_for_end(limit)
        assert status == -signal.SIGABRT, f"{self.name} ended with {status}:\n{self.output()}"

    def is_running(self):
        return self.process.poll() is None

    def kill(self):
        """Ends it in the midst of its work; fails when it has ended by itself before."""
        status = self.stop()
        assert status == -signal.SIGKILL, (f"{self.name} had ended by itself with {status} when it was to be "
                                           f"killed:\n{self.output()}")

    def stop(self):
        """Its status; it is ended if it runs."""
        if self.is_running():
            os.kill(self.pid, signal.SIGKILL)
        return self.wait_for_end()


class Process(Child):
    """Started by the constructor; its standard output and error are collected until it ends, in `lines`
    when the caller has something of a list for them. In a session of its own it hears no Ctrl-C."""

    def __init__(self, name, command, lines=None, own_session=False):
        self.lines = [] if lines is None else lines
        self.reading = threading.Event()
        self.reading.set()
        super().__init__(name, subprocess.Popen(
            [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            preexec_fn=_die_with_parent_alone if own_session else die_with_parent))

    def _read(self):
        with suppress(ValueError):  # it was closed
            for line in self.process.stdout:
                self.reading.wait()
                self.lines.append((time.monotonic(), line.decode(errors="replace").rstrip("\n")))

    @contextmanager
    def unread(self):
        """Nobody reads what the process prints, and what fits in between is little."""
        fcntl.fcntl(self.process.stdout, F_SETPIPE_SZ, 4096)
        self.reading.clear()
        try:
            yield
        finally:
            self.reading.set()

    def texts(self):
        return [text for _, text in list(self.lines)]

    def count(self, part):
        return sum(part in text for text in self.texts())

    def wait_for_line(self, part, limit=30.0):
        return wait_for(lambda: next((text for text in self.texts() if part in text), None), limit,
                        lambda: f"{self.name} prints {part!r}; it printed:\n" + self.output())
