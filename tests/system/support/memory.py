"""Memory that a test can deny one of the programs started while it is there."""

import struct
import subprocess
from pathlib import Path

SOURCE = Path(__file__).with_name("memory_shortage.c")
ORDER = struct.Struct("=q")
COUNT = struct.Struct("=q")
NAME_BYTES = 16


class MemoryShortage:
    def __init__(self, program, folder, environment):
        """`environment` sets a variable of the programs that are started from now on."""
        self.file = folder / "memory-shortage"
        self.file.write_bytes(bytes(ORDER.size + COUNT.size + NAME_BYTES))
        library = folder / "memory_shortage.so"
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-Wall", "-Wextra", "-Werror", "-o", library,
                        SOURCE], check=True)
        environment("MEMORY_SHORTAGE_OF", program)
        environment("MEMORY_SHORTAGE_FILE", str(self.file))
        environment("LD_PRELOAD", str(library))

    def deny(self, one_in, threads=""):
        """From now on one in so many allocations, at random, of the threads whose names end so; all with 1."""
        self.end()
        self._write(ORDER.size + COUNT.size, threads.encode().ljust(NAME_BYTES, b"\0"))
        self._write(0, ORDER.pack(one_in))

    def end(self):
        self._write(0, ORDER.pack(0))

    def denied(self):
        """How many allocations have been denied."""
        return COUNT.unpack_from(self.file.read_bytes(), ORDER.size)[0]

    def _write(self, offset, data):
        # in place: the program has mapped the file
        with open(self.file, "r+b") as file:
            file.seek(offset)
            file.write(data)
