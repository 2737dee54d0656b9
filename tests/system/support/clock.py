"""A wall clock that a test can set: for the programs started while it is there, and for nobody else."""

import struct
import subprocess
from pathlib import Path

SOURCE = Path(__file__).with_name("clock_shift.c")


class WallClock:
    def __init__(self, folder, environment):
        """`environment` sets a variable of the programs that are started from now on."""
        self.file = folder / "clock-shift"
        library = folder / "clock_shift.so"
        self.shift(0)
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-Wall", "-Wextra", "-Werror", "-o", library,
                        SOURCE], check=True)
        environment("CLOCK_SHIFT_FILE", str(self.file))
        environment("LD_PRELOAD", str(library))

    def shift(self, seconds):
        """Sets the clock so far ahead of the machine's, or behind it."""
        # in place: the programs have mapped the file
        with open(self.file, "r+b" if self.file.exists() else "wb") as file:
            file.write(struct.pack("=q", seconds))
