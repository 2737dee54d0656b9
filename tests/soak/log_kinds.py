"""The lines of a program by their kind: what is left of a line when numbers and addresses are taken out."""

import re
from collections import Counter, deque

KEPT_LINES = 200
MOST_KINDS = 500
OTHERS = "(further kinds)"

# The daemon writes this one without a line end, so it stands before other lines, and many times.
GLUED = re.compile(r"(doGetAllOnu\w+ - ONU not found: )(?:[0-9a-f]{2}:){5}[0-9a-f]{2}")
ADDRESS = re.compile(r"(?:[0-9a-f]{2}:){5}[0-9a-f]{2}")
NUMBER = re.compile(r"\d+")


def kinds_of(line):
    """The kinds of what one line holds; mostly one."""
    found = [part + "MAC" for part in GLUED.findall(line)]
    rest = NUMBER.sub("N", ADDRESS.sub("MAC", GLUED.sub("", line)))
    return found + ([rest] if rest or not found else [])


class CountedLines(deque):
    """The last lines of a program; counts all of them by kind and writes them to a file."""

    def __init__(self, path):
        super().__init__(maxlen=KEPT_LINES)
        self.kinds = Counter()
        self.file = open(path, "a", buffering=1)

    def append(self, item):
        super().append(item)
        self.file.write(item[1] + "\n")
        for kind in kinds_of(item[1]):
            known = kind in self.kinds or len(self.kinds) < MOST_KINDS
            self.kinds[kind if known else OTHERS] += 1
