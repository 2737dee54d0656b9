"""From a card's alarm to the report at the database manager."""

import random
import time
from collections import defaultdict
from statistics import median

from .. import alarms, journal
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
# In this time, in seconds, what is on its way arrives, and nothing is read in the process that notes when.
TAIL = 3
# A report more than there were alarms comes a pass later at most.
ONE_MORE_PASS = 1.5


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
    """One after the other, at any moment of a pass; how many."""
    chance = random.Random(1)
    count = bench.pick(200, 15)
    for turn in range(count):
        time.sleep(chance.uniform(0.05, 0.35))
        bench.control("alarm", f"{turn % CARDS + 1}/0/{chance.randrange(4)}", "Loss of Signal",
                      "raise" if turn // CARDS % 2 == 0 else "clear")
    return count


def storm(bench):
    """At every card at the same time; how many alarms."""
    seconds = bench.pick(10, 3)
    each = STORM // CARDS * seconds
    for card in range(1, CARDS + 1):
        bench.control("fault", "add", "event-burst", "--card", card, "--rate", STORM // CARDS, "--count", each)
    time.sleep(seconds)
    return each * CARDS


class Waits:
    """Lays the alarms that the cards sent beside those that were reported, in their order; each must be
    there, and say the same. Reads the journal and the reports on from where it stopped."""

    def __init__(self, path, manager):
        self.journal = journal.Reader(path)
        self.manager = manager
        self.messages = 0
        self.sent = defaultdict(list)
        self.reported = defaultdict(list)

    def caused_by(self, cause, bench):
        """Seconds from each alarm's departure to its arrival in a report. `cause` tells how many there are."""
        expected = cause(bench)
        time.sleep(TAIL)
        wait_for(lambda: self.have_arrived(expected), 60,
                 lambda: f"{expected} alarms are sent and reported; sent {count(self.sent)}, "
                         f"reported {count(self.reported)}", pause=1.0)
        time.sleep(ONE_MORE_PASS)
        self.look()
        sent, reported = dict(self.sent), dict(self.reported)
        self.sent.clear()
        self.reported.clear()
        if count(sent) != expected:
            raise RuntimeError(f"the cards sent {count(sent)} alarms, not {expected}")
        return lay_beside(sent, reported)

    def have_arrived(self, expected):
        self.look()
        return count(self.sent) >= expected and count(self.reported) >= expected

    def look(self):
        for datagram in self.journal.more():
            if datagram.direction == journal.OUT and datagram.id == REPORT_ALARM:
                if alarm := alarms.sent(datagram):
                    self.sent[datagram.card].append(alarm)
        news = self.manager.news()
        for moment, uri, data in news[self.messages:]:
            for row in data["alarm_list"] if uri == "/olt/alarm/new" else ():
                if alarm := alarms.reported(moment, row):
                    self.reported[int(row["slot_id"])].append(alarm)
        self.messages = len(news)


def count(by_card):
    return sum(map(len, by_card.values()))


def lay_beside(sent, reported):
    """Each alarm's wait, card by card. RuntimeError when an alarm is missing, is one too many, says something
    else, or came before it was sent."""
    waits = []
    for card in sorted({*sent, *reported}):
        theirs, ours = sent.get(card, []), reported.get(card, [])
        if len(theirs) != len(ours):
            raise RuntimeError(f"card {card} sent {len(theirs)} alarms, {len(ours)} were reported")
        for alarm, report in zip(theirs, ours):
            if alarm.says() != report.says():
                raise RuntimeError(f"card {card} sent {alarm}, reported was {report}")
            if report.moment < alarm.moment:
                raise RuntimeError(f"the report {report} came before the alarm {alarm} of card {card}")
            waits.append(report.moment - alarm.moment)
    return waits
