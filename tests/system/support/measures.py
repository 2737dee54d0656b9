"""What the kernel says of a process and of its sockets."""

import os
from pathlib import Path

from .product import BUILD, control


def resident(pid):
    """Memory that the process has in use, in MiB."""
    line = next(line for line in Path(f"/proc/{pid}/status").read_text().splitlines()
                if line.startswith("VmRSS:"))
    return int(line.split()[1]) / 1024


def with_overhead(growth):
    """So much memory of a program's own. The thread sanitizer keeps notes of four times as much beside it, the
    address sanitizer surrounds each block with some and gives freed ones back late."""
    return growth * {"tsan": 5, "asan": 2}.get(BUILD.name, 1)


def descriptors(pid):
    """What the process has open: the kind of each descriptor, or its path."""
    found = []
    for number in os.listdir(f"/proc/{pid}/fd"):
        try:
            found.append(os.readlink(f"/proc/{pid}/fd/{number}").split(":[")[0])
        except FileNotFoundError:
            continue  # closed since it was listed
    return sorted(found)


def children(pid):
    """Processes that the process has started and not waited for yet."""
    return [child for thread in Path(f"/proc/{pid}/task").iterdir()
            for child in (thread / "children").read_text().split()]


def resting_descriptors(pid):
    """The descriptors of a moment at which no probe runs, or None."""
    before = children(pid)
    found = descriptors(pid)
    return None if before or children(pid) else found


def udp_columns(address, port=14113):
    """What /proc/net/udp says of the socket that is bound there, or None."""
    end = "%08X:%04X" % (int.from_bytes(bytes(map(int, address.split("."))), "little"), port)
    rows = [line.split() for line in Path("/proc/net/udp").read_text().splitlines()[1:]]
    return next((row for row in rows if row[1] == end), None)


def dropped_at(address):
    """Datagrams that the kernel dropped because this UDP socket's buffer was full, since it was made."""
    columns = udp_columns(address)
    assert columns, f"no UDP socket is bound to {address}"
    return int(columns[-1])


def bytes_waiting_at(address):
    """Of the kernel's memory, for what has come to this UDP socket and isn't read yet."""
    return int(udp_columns(address)[4].split(":")[1], 16)


def user_bound_to(address):
    """Whose UDP socket is bound there: the user's number, or None."""
    columns = udp_columns(address)
    return int(columns[7]) if columns else None


class Journal:
    """The simulator's journal from now on."""

    def __init__(self):
        entries = control("journal", "--last", "1")["entries"]
        self.number = entries[-1]["number"] if entries else 0

    def requests(self, slot):
        """What has come in to the card since."""
        entries = control("journal", "--card", slot, "--last", "10000")["entries"]
        return [entry for entry in entries
                if entry["direction"] == "in" and entry["number"] > self.number]


def periods(requests):
    """Seconds from each request to the next."""
    times = [request["time_ns"] / 1e9 for request in requests]
    return [later - earlier for earlier, later in zip(times, times[1:])]


def repeated(requests):
    """Requests that were sent again, because no answer came in time."""
    return [later for earlier, later in zip(requests, requests[1:])
            if (earlier["id"], earlier["ctag"]) == (later["id"], later["ctag"])]
