"""A process at a terminal of its own."""

import fcntl
import os
import pty
import struct
import subprocess
import termios

from .process import Child, die_with_parent
from .waiting import wait_for

ROWS, COLUMNS = 40, 160


class TerminalProcess(Child):
    """Started by the constructor; what it shows is collected until it ends."""

    def __init__(self, name, command, folder):
        self.shown = b""
        self.terminal, own = pty.openpty()
        fcntl.ioctl(own, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))
        process = subprocess.Popen(command, stdin=own, stdout=own, stderr=own, cwd=folder,
                                   preexec_fn=die_with_parent)
        os.close(own)
        super().__init__(name, process)

    def _read(self):
        while True:
            try:
                part = os.read(self.terminal, 65536)
            except OSError:  # It has ended.
                return
            self.shown += part

    def text(self):
        return self.shown.decode(errors="replace")

    def texts(self):
        return self.text().splitlines()

    def wait_for(self, part, limit=60.0):
        wait_for(lambda: part in self.text(), limit, lambda: f"{part!r} is shown, not {self.text()}")

    def signal(self, number):
        """Nothing happens when it has ended."""
        self.process.send_signal(number)
