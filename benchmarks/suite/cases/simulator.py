"""Whether the simulated chassis is fast enough to measure with."""

from .. import processes
from ..rows import Row
from ..surroundings import CARDS, SOURCE

NAME = "simulator"
ANSWERS = "whether chassis-sim keeps its latency at 5,000 requests a second, full"
IN_QUICK = True

RATE = 5000
LATENCY_MS = 2
MEGABYTE = 1_000_000


def run(bench):
    simulator = bench.simulator("--onus", "124", "--configured", "--latency", f"{LATENCY_MS}ms")
    turns = [bench.ask("bench-load", "load", "--source", SOURCE, "--base", CARDS, "--rate", RATE,
                       "--seconds", bench.pick(10, 1))[0] for _ in range(bench.pick(5, 1))]
    latency = LATENCY_MS * 1e6

    def row(what, key, **goal):
        return Row(f"{what} of its answers' times", f"latency {LATENCY_MS} ms",
                   [turn[key] / latency for turn in turns], credible_from=0.97, **goal)

    return [row("median", "median_ns", at_most=1.1), row("99th percentile", "p99_ns"),
            Row("answers", "requests", [turn["answered"] / turn["sent"] for turn in turns], at_least=1.0),
            Row("resident memory, 8 x 248 ONUs", "100 MB",
                [processes.resident_bytes(simulator.pid) / MEGABYTE], "MB", at_most=100)]
