"""Memory that a test can deny one of the programs started while it is there."""

import struct
import subprocess
from pathlib import Path

SOURCE = Path(__file__).with_name("memory_shortage.c")
NUMBERS = struct.Struct("=qq")


class MemoryShortage:
    def __init__(self, program, folder, environment):
        """`environment` sets a variable of the programs that are started from now on."""
        self.file = folder / "memory-shortage"
        self.file.write_bytes(NUMBERS.pack(0, 0))
        library = folder / "memory_shortage.so"
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-Wall", "-Wextra", "-Werror", "-o", library,
                        SOURCE], check=True)
        environment("MEMORY_SHORTAGE_OF", program)
        environment("MEMORY_SHORTAGE_FILE", str(self.file))
        environment("LD_PRELOAD", str(library))

    def deny(self, one_in):
        """One in so many allocations from now on, at random; all with 1, none with 0."""
        # in place: the program has mapped the file
        with open(self.file, "r+b") as file:
            file.write(NUMBERS.pack(one_in, self.denied())[:8])

    def denied(self):
        """How many allocations have been denied."""
        return NUMBERS.unpack(self.file.read_bytes())[1]
