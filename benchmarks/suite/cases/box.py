"""What the daemon takes of the machine at rest and in steady polling."""

import time
from dataclasses import dataclass
from statistics import median

from .. import journal, processes
from ..manager import Manager
from ..rows import Row
from ..surroundings import say

NAME = "box"
ANSWERS = "memory, processor time, wake-ups of the daemon"
IN_QUICK = True

CARDS = 8
MEBIBYTE = 1 << 20
# Optical levels are read in one pass of 32, which takes a little more than so many seconds.
WINDOW = 33
READING = 585
START = 3  # seconds until idle slots have made their first round


def run(bench):
    rows = []
    for onus in bench.pick((None, 8, 64, 248), (8,)):
        rows += state_of(bench, onus)
    return rows


def state_of(bench, onus):
    """`onus` a card; None for eight slots without addresses."""
    name = "eight idle slots" if onus is None else f"8 cards x {onus} ONUs"
    say(f"  {name}")
    manager = Manager()
    path = bench.new_folder() / "journal"
    if onus is not None:
        bench.simulator("--onus", onus // 2, "--configured", "--optics-interval", "0", "--latency", "2ms",
                        "--journal-file", path)
    daemon = bench.start("ponmgrd")
    if onus is None:
        time.sleep(START)
    else:
        settle(manager, onus)
    windows = [window(daemon.pid, bench) for _ in range(bench.pick(5, 2))]
    readings = [] if onus is None else readings_in(windows, journal.read(path), onus)
    rows = figures(name, windows, processes.threads(daemon.pid), readings, steady=onus == 248)
    bench.stop_all()
    manager.close()
    return rows


def settle(manager, onus):
    """Until every ONU's levels have been read: then a round of everything is behind us."""
    manager.bind_daemon()
    manager.give_addresses()

    def read(news):
        return {data["mac_address"] for _, uri, data in news
                if uri == "/onu/new" and data["is_gigabit"] == "1" and data["tx_power_input"] != "-"}
    manager.wait_until(lambda news: len(read(news)) == CARDS * onus, 300,
                       lambda: f"{len(read(manager.news()))} of {CARDS * onus} ONUs are read")


@dataclass
class Window:
    """What the daemon took within it, a second, and its memory at the end; times of day."""

    began: float
    ended: float
    rates: dict
    resident: int


def window(pid, bench):
    before, began, start = processes.sample(pid), time.time(), time.monotonic()
    time.sleep(bench.pick(WINDOW, 2))
    after, seconds = processes.sample(pid), time.monotonic() - start
    return Window(began, time.time(), {name: (getattr(after, name) - value) / seconds
                                       for name, value in vars(before).items()}, processes.resident_bytes(pid))


def readings_in(windows, datagrams, onus):
    """How often an ONU's levels were read in each window."""
    times = [datagram.wall for datagram in datagrams if datagram.direction == journal.IN and datagram.id == READING]
    return [sum(one.began <= moment < one.ended for moment in times) / (CARDS * onus) for one in windows]


def figures(name, windows, threads, readings, steady):
    def row(what, key, unit, factor=1.0, **more):
        return Row(f"{name}: {what}", "", [one.rates[key] * factor for one in windows], unit, **more)

    often = {"levels read, times": median(readings)} if readings else {}
    return [Row(f"{name}: resident memory", "24 MiB" if steady else "",
                [one.resident / MEBIBYTE for one in windows], "MiB", at_most=24.0 if steady else None,
                details={"threads": threads}),
            row("processor time, of one core", "cpu", "%", 100, at_most=1.0 if steady else None, details=often),
            row("processor time of its pings", "children_cpu", "%", 100),
            row("wake-ups a second", "wake_ups", ""),
            row("context switches a second", "switches", ""),
            row("page faults a second", "faults", "")]
