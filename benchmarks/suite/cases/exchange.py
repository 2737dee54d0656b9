"""The exchange with a card, beside the least that sending and receiving the same datagrams costs."""

import os

from ..rows import Row, ratios
from ..surroundings import CARDS, SOURCE

NAME = "exchange"
ANSWERS = "what a request to a card costs beside a bare sendto and recvfrom"
IN_QUICK = True

CONTENDERS = ("bare", "threaded", "product")


def run(bench):
    rows = []
    for latency in bench.pick((1, 2, 5), (1,)):
        rows += beside_floors(bench, latency)
    return rows + lost_signals(bench)


def one_card(bench, latency):
    return bench.simulator("--slots", "1", "--onus", "0", "--optics-interval", "0", "--latency", latency)


def rounds(bench, count):
    """Each contender's wall and processor times, by rounds."""
    return bench.ask("bench-exchange", "rounds", "--source", SOURCE, "--card", CARDS + "1",
                     "--exchanges", count, "--rounds", bench.runs)


def beside_floors(bench, latency):
    count = bench.pick(1000, 200)
    simulator = one_card(bench, f"{latency}ms")
    measured = rounds(bench, count)
    bench.stop(simulator)

    def times(contender, clock):
        return [turn[contender][clock] for turn in measured]

    def details(top, bottom, clock):
        return {"µs": sorted(times(top, clock))[bench.runs // 2] / count / 1e3,
                "floor µs": sorted(times(bottom, clock))[bench.runs // 2] / count / 1e3}

    def row(what, top, bottom, clock, **goal):
        return Row(f"{what}, card's latency {latency} ms", f"{bottom} floor",
                   ratios(times(top, clock), times(bottom, clock)),
                   details=details(top, bottom, clock), **goal)

    return [row(f"{count:,} exchanges", "product", "bare", "wall_ns", at_most=1.03),
            row("processor time of an exchange", "product", "threaded", "cpu_ns", at_most=1.5),
            row("processor time of the threaded floor", "threaded", "bare", "cpu_ns")]


def lost_signals(bench):
    """Answers that were there before the wait began, of cards that answer at once."""
    count = bench.pick(2000, 100)
    simulator = one_card(bench, "0")
    rows = []
    for busy, state in ((0, "idle"), (os.cpu_count(), f"{os.cpu_count()} cores loaded")):
        lost = [bench.ask("bench-exchange", "lost", "--source", SOURCE, "--card", CARDS + "1",
                          "--exchanges", count, "--busy-threads", busy)[0]["lost"]
                for _ in range(bench.runs)]
        rows.append(Row(f"answers before the wait, latency 0, {state}", f"all {count:,}",
                        [number / count for number in lost]))
    bench.stop(simulator)
    return rows
