"""Instructions of one steady pass, counted by callgrind: the one figure that a busy machine doesn't touch."""

import re
import signal
import subprocess
import time
from dataclasses import dataclass

from ..manager import Manager
from ..rows import Row, by_turns
from ..surroundings import say
from .box import settle

NAME = "instructions"
ANSWERS = "instructions of one steady pass over a card, by its ONUs"
IN_QUICK = False

SIZES = (8, 64, 248)
# A round of optical levels: they are read in one pass of 32.
SECONDS = 33
PASS = "ponmgr::PONCardTask::pollCard("
READING = "ponmgr::PONCardHelper::doGetAllOnuOpticsPower("
RECHECK = "ponmgr::PONCardHelper::doRecheckConfiguration("


@dataclass
class Counted:
    """Instructions of one pass without what isn't done in each, and of one reading of all levels of a card."""

    a_pass: float
    a_reading: float


def run(bench):
    sizes = bench.pick(SIZES, SIZES[:1])
    counted = {onus: [] for onus in sizes}
    for turn in range(bench.pick(bench.runs, 1)):
        for onus in by_turns(sizes, turn):
            counted[onus].append(steady(bench, onus))
    rows = [Row(f"a pass over a card of {onus} ONUs", "", [one.a_pass for one in counted[onus]], "instructions")
            for onus in sizes]
    rows += [Row(f"reading the levels of {onus} ONUs", "", [one.a_reading for one in counted[onus]],
                 "instructions") for onus in sizes]
    if sizes == SIZES:
        rows += [growth(counted, "a pass", lambda one: one.a_pass),
                 growth(counted, "a reading", lambda one: one.a_reading)]
    return rows


def growth(counted, what, part):
    small, middle, large = SIZES
    added = [((part(last) - part(between)) / (large - middle)) / ((part(between) - part(first)) / (middle - small))
             for first, between, last in zip(*(counted[onus] for onus in SIZES), strict=True)]
    return Row(f"what an ONU adds to {what} between {middle} and {large}", f"between {small} and {middle}", added)


def steady(bench, onus):
    """Of the passes in a time in which each card's levels are read."""
    say(f"  {onus} ONUs a card")
    folder = bench.new_folder()
    bench.simulator("--onus", onus // 2, "--configured", "--optics-interval", "0", "--journal", "1000")
    manager = Manager()
    daemon = bench.start("callgrind", "--tool=callgrind", "--instr-atstart=no",
                         f"--callgrind-out-file={folder}/out", bench.program("ponmgrd"),
                         program="/usr/bin/valgrind")
    settle(manager, onus)
    subprocess.run(["callgrind_control", "-i", "on", str(daemon.pid)], check=True, capture_output=True)
    time.sleep(SECONDS)
    daemon.process.send_signal(signal.SIGTERM)
    daemon.wait_for_end(60)
    bench.stop_all()
    manager.close()
    return read((folder / "out").read_text())


def read(text):
    """From what callgrind wrote: each function's cost with all that it calls, by its calls."""
    cost, passes = inclusive(text, PASS)
    reading, readings = inclusive(text, READING)
    recheck, _ = inclusive(text, RECHECK)
    if passes == 0 or readings == 0:
        raise RuntimeError(f"callgrind has seen {passes} calls of {PASS}...) and {readings} of {READING}...)")
    return Counted((cost - reading - recheck) / passes, reading / readings)


def inclusive(text, name):
    """Instructions and calls of the function whose name begins so."""
    numbers = {number for number, found in re.findall(r"^c?fn=\((\d+)\) (.+)$", text, re.M)
               if found.startswith(name)}
    calls = [(int(times), int(cost)) for number, times, cost in
             re.findall(r"^cfn=\((\d+)\).*\ncalls=(\d+).*\n\S+ (\d+)$", text, re.M) if number in numbers]
    return sum(cost for _, cost in calls), sum(times for times, _ in calls)
