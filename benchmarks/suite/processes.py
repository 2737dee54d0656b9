"""What the system knows of a process."""

import os
from dataclasses import dataclass
from pathlib import Path

TICKS = os.sysconf("SC_CLK_TCK")


@dataclass
class Sample:
    """Sums over all threads; seconds of processor time."""

    cpu: float
    children_cpu: float
    switches: int
    wake_ups: int
    faults: int


def _status(path):
    return dict(line.split(":", 1) for line in path.read_text().splitlines())


def sample(pid):
    folder = Path(f"/proc/{pid}")
    cpu = switches = wake_ups = 0
    for task in (folder / "task").iterdir():
        spent, _, _ = (task / "schedstat").read_text().split()
        status = _status(task / "status")
        cpu += int(spent) / 1e9
        wake_ups += int(status["voluntary_ctxt_switches"])
        switches += int(status["voluntary_ctxt_switches"]) + int(status["nonvoluntary_ctxt_switches"])
    fields = (folder / "stat").read_text().rpartition(")")[2].split()
    children = (int(fields[13]) + int(fields[14])) / TICKS
    return Sample(cpu, children, switches, wake_ups, int(fields[7]) + int(fields[9]))


def resident_bytes(pid):
    return int(_status(Path(f"/proc/{pid}/status"))["VmRSS"].split()[0]) * 1024


def threads(pid):
    return int(_status(Path(f"/proc/{pid}/status"))["Threads"])
