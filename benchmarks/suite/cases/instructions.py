"""Instructions of one steady pass, counted by callgrind: the one figure that a busy machine doesn't touch."""

import re
import signal
import subprocess
from collections import Counter
from dataclasses import dataclass

from support.waiting import wait_for

from .. import journal
from ..manager import Manager
from ..rows import Row, by_turns
from ..surroundings import say
from .box import CARDS, READING as LEVELS, settle

NAME = "instructions"
ANSWERS = "instructions of one steady pass over a card, by its ONUs"
IN_QUICK = False

SIZES = (8, 64, 248)
# Levels are read in one pass of 32, which take half a minute, and longer under callgrind.
LONGEST_ROUND = 300
PASS = "ponmgr::PONCardTask::pollCard("
READING = "ponmgr::PONCardHelper::doGetAllOnuOpticsPower("
READING_OF_ONE = "ponmgr::PONCardHelper::doGetOnuOpticsPower("
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


class Readings:
    """Which cards' levels are being read, and how often each card's have been, by a journal that is being
    written. A reading has ended when its card is asked for something else."""

    def __init__(self, path):
        self.journal = journal.Reader(path)
        self.asked = {}  # by card, what it was asked for last
        self.ended = Counter()

    def look(self):
        for datagram in self.journal.more():
            if datagram.direction == journal.IN:
                self.ended[datagram.card] += self.asked.get(datagram.card) == LEVELS != datagram.id
                self.asked[datagram.card] = datagram.id

    def goes_on(self):
        self.look()
        return LEVELS in self.asked.values()

    def has_each_card_since(self, earlier):
        """And none goes on; `earlier` is what `ended` was."""
        return not self.goes_on() and sum(self.ended[card] > earlier[card] for card in self.ended) == CARDS


def steady(bench, onus):
    """Of the passes in a time in which each card's levels are read, from the first to the last ONU: the count
    begins and ends between readings."""
    say(f"  {onus} ONUs a card")
    folder = bench.new_folder()
    bench.simulator("--onus", onus // 2, "--configured", "--optics-interval", "0", "--journal-file",
                    folder / "journal")
    manager = Manager()
    daemon = bench.start("callgrind", "--tool=callgrind", "--instr-atstart=no",
                         f"--callgrind-out-file={folder}/out", bench.program("ponmgrd"),
                         program="/usr/bin/valgrind")
    settle(manager, onus)
    readings = Readings(folder / "journal")
    wait_for(lambda: not readings.goes_on(), LONGEST_ROUND, "no card's levels are being read", 0.2)
    before = readings.ended.copy()
    subprocess.run(["callgrind_control", "-i", "on", str(daemon.pid)], check=True, capture_output=True)
    wait_for(lambda: readings.has_each_card_since(before), LONGEST_ROUND, "each card's levels have been read",
             0.2)
    daemon.process.send_signal(signal.SIGTERM)
    daemon.wait_for_end(60)
    bench.stop_all()
    manager.close()
    return read((folder / "out").read_text(), onus)


def read(text, onus):
    """From what callgrind wrote: each function's cost with all that it calls, by its calls. RuntimeError when
    the count began or ended within a reading of the levels of `onus` ONUs."""
    cost, passes = inclusive(text, PASS)
    reading, readings = inclusive(text, READING)
    _, read_onus = inclusive(text, READING_OF_ONE)
    recheck, _ = inclusive(text, RECHECK)
    if passes == 0 or readings == 0:
        raise RuntimeError(f"callgrind has seen {passes} calls of {PASS}...) and {readings} of {READING}...)")
    if read_onus != readings * onus:
        raise RuntimeError(f"callgrind has seen {readings} readings of {onus} ONUs, but {read_onus} ONUs: one "
                           "was cut off")
    return Counted((cost - reading - recheck) / passes, reading / readings)


def inclusive(text, name):
    """Instructions and calls of the function whose name begins so."""
    numbers = {number for number, found in re.findall(r"^c?fn=\((\d+)\) (.+)$", text, re.M)
               if found.startswith(name)}
    calls = [(int(times), int(cost)) for number, times, cost in
             re.findall(r"^cfn=\((\d+)\).*\ncalls=(\d+).*\n\S+ (\d+)$", text, re.M) if number in numbers]
    return sum(cost for _, cost in calls), sum(times for times, _ in calls)
