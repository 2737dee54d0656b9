"""Requests, answers and records, one message at a time."""

import json
import subprocess
from collections import defaultdict

from ..rows import Row, ratios

NAME = "codec"
ANSWERS = "what building, parsing and printing one message costs"
IN_QUICK = True

LONGEST = 248
FLOORS = {"request": "memcpy of its bytes", "response": "memcpy of its bytes",
          "links": "memcpy of its bytes", "json": "cJSON alone"}


def measure(bench):
    """Each benchmark's repetitions, by name."""
    words = [bench.program("bench-codec"), "--benchmark_format=json",
             "--benchmark_enable_random_interleaving=true", f"--benchmark_repetitions={bench.runs}",
             f"--benchmark_min_time={bench.pick(0.05, 0.001)}"]
    done = subprocess.run(words, capture_output=True, text=True, check=True, timeout=900)
    found = defaultdict(list)
    for run in json.loads(done.stdout)["benchmarks"]:
        if run["run_type"] == "iteration":
            found[run["run_name"]].append(run)
    return found


def times(repetitions):
    """Nanoseconds of processor time: of a busy machine it says more than the clock."""
    return [run["cpu_time"] for run in repetitions]


def details(repetitions):
    nanoseconds = sorted(times(repetitions))[len(repetitions) // 2]
    size = repetitions[0]["bytes"]
    return {"a second": 1e9 / nanoseconds, "ns a byte": nanoseconds / size, "bytes": size,
            "allocations": repetitions[0]["allocations"]}


def run(bench):
    measured = measure(bench)
    rows = []
    for name, repetitions in measured.items():
        floor = measured.get(f"{name}/floor")
        if floor is None:
            continue
        goal = {"at_most": 3.0} if name == "json/parsed-alarm" else {}
        rows.append(Row(name, FLOORS[name.split("/")[0]], ratios(times(repetitions), times(floor)),
                        details=details(repetitions), **goal))
    return sorted(rows, key=lambda row: row.what) + growth(measured)


def growth(measured):
    """A list's time for each of its links, beside that of a quarter of the list."""
    rows = []
    for work in ("parse", "note"):
        whole = [time / LONGEST for time in times(measured[f"links/{work}/{LONGEST}"])]
        part = [time / (LONGEST // 4) for time in times(measured[f"links/{work}/{LONGEST // 4}"])]
        rows.append(Row(f"links/{work}: a link of {LONGEST}", f"a link of {LONGEST // 4}",
                        ratios(whole, part), at_most=1.25,
                        details=details(measured[f"links/{work}/{LONGEST}"])))
    return rows
