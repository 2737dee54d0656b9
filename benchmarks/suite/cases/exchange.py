"""The exchange with a card, beside the least that sending and receiving the same datagrams costs."""

import os
from statistics import median

from ..rows import Row, ratios
from ..surroundings import CARDS, SOURCE

NAME = "exchange"
ANSWERS = "what a request to a card costs beside a bare sendto and recvfrom"
IN_QUICK = True

ROUNDS = 9  # the ratios are near 1, and one thread that wakes late moves a round by a percent
# Exchanges of a run, by the card's latency in milliseconds: one in thousands is asked again.
ASKED = {0: 2000, 1: 4000, 2: 4000}


def run(bench):
    rows = []
    for latency in bench.pick((1, 2, 5), (1,)):
        rows += beside_floors(bench, latency)
    for latency in bench.pick(ASKED, (0, 2)):
        rows += lost_signals(bench, latency)
    return rows


def one_card(bench, latency):
    return bench.simulator("--slots", "1", "--onus", "0", "--optics-interval", "0", "--latency", latency)


def rounds(bench, count):
    """What each contender took, by rounds."""
    return bench.ask("bench-exchange", "rounds", "--source", SOURCE, "--card", CARDS + "1",
                     "--exchanges", count, "--rounds", bench.pick(ROUNDS, 3))


def beside_floors(bench, latency):
    count = bench.pick(1000, 200)
    simulator = one_card(bench, f"{latency}ms")
    measured = rounds(bench, count)
    bench.stop(simulator)

    def times(contender, clock):
        return [turn[contender][clock] for turn in measured]

    def row(what, top, bottom, clock, **goal):
        return Row(f"{what}, card's latency {latency} ms", f"{bottom} floor",
                   ratios(times(top, clock), times(bottom, clock)),
                   details={"µs": median(times(top, clock)) / count / 1e3,
                            "floor µs": median(times(bottom, clock)) / count / 1e3,
                            "asked again": sum(times(top, "asked_again"))},
                   credible_from=0.97, **goal)

    return [row(f"{count:,} exchanges", "product", "bare", "wall_ns", at_most=1.03),
            row(f"{count:,} exchanges of the threaded floor", "threaded", "bare", "wall_ns"),
            row("processor time of an exchange", "product", "threaded", "cpu_ns", at_most=1.5),
            row("processor time of the threaded floor", "threaded", "bare", "cpu_ns")]


def lost_signals(bench, latency):
    """Answers that came before the wait for them, idle and while other threads want all cores."""
    simulator = one_card(bench, f"{latency}ms")
    rows = [asked_again(bench, latency, busy) for busy in (0, os.cpu_count())]
    bench.stop(simulator)
    return rows


def asked_again(bench, latency, busy):
    count = bench.pick(ASKED[latency], 100)
    found = [bench.ask("bench-exchange", "lost", "--source", SOURCE, "--card", CARDS + "1",
                       "--exchanges", count, "--busy-threads", busy)[0]
             for _ in range(bench.pick(5, 1))]
    return lost_row(latency, busy, count, found)


def lost_row(latency, busy, count, found):
    """An answer that was late is none of the lost ones, but is shown beside them."""
    state = f"{busy} cores loaded" if busy else "idle"
    totals = {"of": count * len(found), "lost": sum(turn["lost"] for turn in found),
              "late": sum(turn["late"] for turn in found),
              "given up": sum(turn["given_up"] for turn in found)}
    return Row(f"answers before the wait, card's latency {latency} ms, {state}", f"all {count:,} of a run",
               [turn["lost"] / count for turn in found], details=totals)
