"""What a running program takes, and what waits for it, as seen from outside."""

import re
import subprocess
import time
from collections import namedtuple
from pathlib import Path

SOCKETS = ("/tmp/pmdbman.ipc", "/tmp/dbpman.ipc")

Reading = namedtuple("Reading", ["resident_kb", "descriptors", "threads"])


def reading_of(pid):
    """Resident size, open descriptors and threads of a process."""
    status = Path(f"/proc/{pid}/status").read_text()
    value = lambda name: int(re.search(rf"^{name}:\s+(\d+)", status, re.M)[1])
    return Reading(value("VmRSS"), len(list(Path(f"/proc/{pid}/fd").iterdir())), value("Threads"))


def levels_of(pids, times=48, pause=0.25):
    """The same of some processes at rest, by name: the least of each over twelve seconds. One or another of
    the daemon's probes takes descriptors for most of ten, and a long answer of dbman's takes memory that goes
    back when it is sent."""
    taken = {name: [] for name in pids}
    for _ in range(times):
        for name, pid in pids.items():
            taken[name].append(reading_of(pid))
        time.sleep(pause)
    return {name: Reading(*map(min, zip(*seen))) for name, seen in taken.items()}


def udp_queues():
    """Bytes that wait at the most at one UDP socket, and datagrams dropped by all of them."""
    rows = [line.split() for line in Path("/proc/net/udp").read_text().splitlines()[1:]]
    waiting = [int(row[4].partition(":")[2], 16) for row in rows]
    return max(waiting, default=0), sum(int(row[-1]) for row in rows)


def local_queue():
    """Bytes that wait at the most at one of the local sockets between daemon and database manager."""
    told = subprocess.run(["ss", "-xaH"], capture_output=True, text=True, check=True).stdout
    waiting = [int(row[2]) for row in map(str.split, told.splitlines()) if len(row) > 4 and row[4] in SOCKETS]
    return max(waiting, default=0)
