"""Requests, answers and records, one message at a time."""

import json
import subprocess
from collections import defaultdict
from statistics import median

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
             f"--benchmark_min_time={bench.pick(0.1, 0.001)}"]
    done = subprocess.run(words, capture_output=True, text=True, check=True, timeout=900)
    return by_name(done.stdout)


def by_name(text):
    found = defaultdict(list)
    for run in json.loads(text)["benchmarks"]:
        if run["run_type"] == "iteration":
            found[run["run_name"]].append(run)
    return found


def times(repetitions):
    """Nanoseconds of processor time: of a busy machine it says more than the clock."""
    return [run["cpu_time"] for run in repetitions]


def allocations(repetitions):
    return [run["allocations"] for run in repetitions]


def details(repetitions):
    nanoseconds = median(times(repetitions))
    size = repetitions[0]["bytes"]
    return {"a second": 1e9 / nanoseconds, "ns a byte": nanoseconds / size, "bytes": size,
            "allocations": repetitions[0]["allocations"]}


def run(bench):
    measured = measure(bench)
    return beside_floors(measured) + growth(measured)


def beside_floors(measured):
    rows = []
    for name, repetitions in sorted(measured.items()):
        floor = measured.get(f"{name}/floor")
        if floor is None:
            continue
        goal = {"at_most": 3.0} if name == "json/parsed-alarm" else {}
        rows.append(Row(name, FLOORS[name.split("/")[0]], ratios(times(repetitions), times(floor)),
                        credible_from=0.97, details=details(repetitions), **goal))
    return rows


def growth(measured):
    """What a list costs for each of its links, beside a quarter of the list: the goal is for what it takes from
    the heap, which is the same in every run."""
    rows = []
    for work in ("parse", "note"):
        whole, part = measured[f"links/{work}/{LONGEST}"], measured[f"links/{work}/{LONGEST // 4}"]
        for what, values, goal in (("allocations", allocations, {"at_most": 1.05}), ("time", times, {})):
            rows.append(Row(f"links/{work}: {what} of a link of {LONGEST}", f"a link of {LONGEST // 4}",
                            ratios([value / LONGEST for value in values(whole)],
                                   [value / (LONGEST // 4) for value in values(part)]),
                            details=details(whole), **goal))
    return rows
