"""From a card's alarm to the report at the database manager."""

import random
import time
from collections import defaultdict
from statistics import median

from .. import journal
from ..manager import Manager
from ..rows import Row, quantile
from ..surroundings import say
from support.waiting import wait_for

NAME = "reports"
ANSWERS = "how long until an alarm of a card is reported, also in a storm"
IN_QUICK = True

CARDS = 8
PASS = 1.0
REPORT_ALARM = 0x801A
STORM = 1000  # a second, over all cards


def run(bench):
    folder = bench.new_folder()
    bench.simulator("--onus", 4, "--configured", "--optics-interval", "0",
                    "--journal-file", folder / "journal")
    manager = Manager()
    bench.start("ponmgrd")
    manager.bind_daemon()
    manager.give_addresses()
    manager.wait_until(lambda news: len(onus(news)) == CARDS * 8, 120, "all ONUs are reported")
    waits = Waits(folder / "journal", manager)
    rows = []
    for state, cause in (("idle", single_alarms), ("in a storm of 1,000 a second", storm)):
        say(f"  {state}")
        turns = [waits.caused_by(cause, bench) for _ in range(bench.pick(5, 1))]
        rows += summary(state, turns)
    return rows


def onus(news):
    return {data["mac_address"] for _, uri, data in news
            if uri == "/onu/new" and data["is_gigabit"] == "1"}


def summary(state, turns):
    """The floor of a median is half a pass: an alarm comes at any moment of it."""
    return [Row(f"median wait, {state}", "half a pass's pause",
                [median(turn) / (PASS / 2) for turn in turns],
                details={"seconds": median(median(turn) for turn in turns),
                         "alarms": sum(map(len, turns))}),
            Row(f"99th percentile, {state}", "a pass's pause",
                [quantile(turn, 0.99) / PASS for turn in turns],
                details={"seconds": median(quantile(turn, 0.99) for turn in turns)})]


def single_alarms(bench):
    """One after the other, at any moment of a pass."""
    chance = random.Random(1)
    for turn in range(bench.pick(60, 15)):
        time.sleep(chance.uniform(0.05, 0.35))
        bench.control("alarm", f"{turn % CARDS + 1}/0/{chance.randrange(4)}", "Loss of Signal",
                      "raise" if turn % 2 == 0 else "clear")


def storm(bench):
    seconds = bench.pick(10, 3)
    for card in range(1, CARDS + 1):
        bench.control("fault", "add", "event-burst", "--card", card, "--rate", STORM // CARDS,
                      "--count", STORM // CARDS * seconds)
    time.sleep(seconds)


class Waits:
    """Lays the alarms that the cards sent beside those that were reported, in their order; each must be
    there."""

    def __init__(self, path, manager):
        self.path = path
        self.manager = manager
        self.seen = {card: 0 for card in range(1, CARDS + 1)}
        wait_for(lambda: self.outstanding() == 0, 30, "what the start raised is reported")
        for card, reported in self.reported().items():
            self.seen[card] = len(reported)

    def caused_by(self, cause, bench):
        """Seconds from each alarm's departure to its arrival in a report."""
        cause(bench)
        wait_for(lambda: self.settled(), 60, "every alarm is reported")
        sent, reported = self.sent(), self.reported()
        waits = [arrival - departure for card in sent
                 for departure, arrival in zip(sent[card][self.seen[card]:],
                                               reported[card][self.seen[card]:], strict=True)]
        self.seen.update({card: len(times) for card, times in reported.items()})
        return waits

    def settled(self):
        """Twice, so that what is on its way is seen."""
        if self.outstanding() != 0:
            return False
        time.sleep(1.5)
        return self.outstanding() == 0

    def outstanding(self):
        reported = self.reported()
        missing = {card: len(times) - len(reported[card]) for card, times in self.sent().items()}
        if min(missing.values(), default=0) < 0:
            raise RuntimeError(f"more alarms reported than sent, by card: {missing}")
        return sum(missing.values())

    def sent(self):
        found = defaultdict(list)
        for datagram in journal.read(self.path):
            if datagram.direction == journal.OUT and datagram.id == REPORT_ALARM:
                found[datagram.card].append(datagram.wall)
        return found

    def reported(self):
        found = defaultdict(list)
        for moment, uri, data in self.manager.news():
            if uri == "/olt/alarm/new":
                for row in data["alarm_list"]:
                    if row["alarm"] == "Loss of Signal":
                        found[int(row["slot_id"])].append(moment)
        return found
