"""What the daemon takes of the machine at rest and in steady polling."""

import time

from .. import processes
from ..manager import Manager
from ..rows import Row
from ..surroundings import say

NAME = "box"
ANSWERS = "memory, processor time, wake-ups of the daemon"
IN_QUICK = True

CARDS = 8
MEBIBYTE = 1 << 20
# Optical levels are read in one pass of 32.
WINDOW = 33


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
    if onus is not None:
        bench.simulator("--onus", onus // 2, "--configured", "--optics-interval", "0", "--latency", "2ms",
                        "--journal", "1000")
    daemon = bench.start("ponmgrd")
    if onus is not None:
        settle(manager, onus)
    windows = [window(daemon.pid, bench) for _ in range(bench.pick(5, 2))]
    rows = figures(name, daemon.pid, windows, steady=onus == 248)
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


def window(pid, bench):
    """Each figure a second."""
    before, start = processes.sample(pid), time.monotonic()
    time.sleep(bench.pick(WINDOW, 2))
    after, seconds = processes.sample(pid), time.monotonic() - start
    return {name: (getattr(after, name) - value) / seconds for name, value in vars(before).items()}


def figures(name, pid, windows, steady):
    def row(what, key, unit, factor=1.0, **goal):
        return Row(f"{name}: {what}", "", [turn[key] * factor for turn in windows], unit, **goal)

    at_most = {"at_most": 1.0} if steady else {}
    resident = [processes.resident_bytes(pid) / MEBIBYTE]
    return [Row(f"{name}: resident memory", "24 MiB" if steady else "", resident, "MiB",
                at_most=24.0 if steady else None, details={"threads": processes.threads(pid)}),
            row("processor time, of one core", "cpu", "%", 100, **at_most),
            row("processor time of its pings", "children_cpu", "%", 100),
            row("wake-ups a second", "wake_ups", ""),
            row("context switches a second", "switches", ""),
            row("page faults a second", "faults", "")]
