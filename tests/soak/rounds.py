"""Rounds of a soak: a storm of troubles, then a calm in which everything has to be right again."""

import functools
import signal
import time
from collections import namedtuple

import faults
from incidents import Incident
from judgement import Ledger, complaints_about_sample, gaps, is_excused
from plant import ANSWER_TIME, NAMES, ask, fill_event_log, give_longest_answers
from readings import Reading, levels_of, local_queue, udp_queues
from samples import Sampler
from settings import RECOVERY_LIMIT, SHORTEST_TO_JUDGE
from stage import LONGEST_EXCHANGE, UNDO_LIMIT

from support.product import inventory, truth
from troubles import SLOTS, WIRE

QUEUES_LIMIT = 10
MOST_JOURNALS = 10  # that are kept
RECHECK_TIME = 15  # the daemon looks whether all is still there on every twelfth pass, of a second and more
STORM_TIME = 45
# In a storm, while its troubles are undone, until it must be right, and until it is mended by a reset.
LONGEST_WRONG = STORM_TIME + LONGEST_EXCHANGE + UNDO_LIMIT + 2 * RECOVERY_LIMIT

Mended = namedtuple("Mended", ["at", "slot", "what", "faults"])


class Disagreement(Exception):
    """Something is wrong and stays so; the soak ends."""


class Rounds:
    """Plays rounds on a stage and keeps what was measured. `ending` tells whether to come to an end."""

    def __init__(self, stage, settings, tell, ending):
        self.stage = stage
        self.plant = stage.plant
        self.settings = settings
        self.tell = tell
        self.ending = ending
        self.begun = time.monotonic()
        stage.clock = self.elapsed
        self.sampler = Sampler(self.plant, self.elapsed, self.wrong)
        self.judges_sizes = settings.seconds >= SHORTEST_TO_JUDGE
        self.judged = 0  # samples
        self.ledger = Ledger()
        self.recoveries = []
        self.mended = []
        self.complaints = []
        self.levels = []  # (time, starts of the programs, readings) of every calm
        self.last_calm = ""
        self.filled = 0  # the start of dbman that was filled last

    @property
    def samples(self):
        return self.sampler.samples

    def begin(self):
        """The time counts from here on."""
        self.begun = time.monotonic()
        self.sampler.start()

    def elapsed(self):
        return time.monotonic() - self.begun

    def end(self):
        """Ends the samples and judges what is left of them, and all of them together."""
        if not self.sampler.has_begun():
            return
        self.sampler.stop()
        self.judge_samples()
        for complaint in (gaps([sample.at for sample in self.samples], 0.0, self.elapsed())
                          + self.ledger.complaints_about_excuses(LONGEST_WRONG)):
            self._complain(complaint)

    def judge_samples(self):
        """Those that were taken since the last time, by what has happened in this round."""
        new = self.samples[self.judged:]
        self.judged += len(new)
        rest = self.levels[0][2] if self.levels else _least(self.samples)
        for sample in new:
            for complaint in (complaints_about_sample(sample, self.stage.incidents, rest, self.judges_sizes) +
                              self.ledger.judge_inventory(sample, self.stage.incidents, self.stage.faults_at,
                                                          SLOTS)):
                self._complain(complaint)

    # The storm.

    def burst(self):
        """The largest burst of alarms that a storm can draw, at every card at once, and where sizes are
        judged as many lines as dbman holds: what is bounded is as full then as it gets, and the memory for it is taken."""
        incident = self.stage.incidents.add(Incident("largest burst", frozenset(SLOTS), WIRE, self.elapsed(),
                                                     halts=True))
        # also what waits for a database manager that is halted
        self.plant.signal("dbman", signal.SIGSTOP if self.settings.halt else 0)
        for slot in SLOTS:
            faults.largest_burst(slot)
        time.sleep(faults.LARGEST_BURST_SECONDS)
        self.plant.signal("dbman", signal.SIGCONT)
        self._fill_dbman()
        incident.ended = self.elapsed()

    def _fill_dbman(self):
        """Once in each of its starts: a new one has to fill before its size can be compared."""
        if self.judges_sizes and self.filled != self.plant.starts["dbman"]:
            fill_event_log()
            give_longest_answers()
            self.filled = self.plant.starts["dbman"]

    def storm(self, seconds):
        """Troubles one after another, each at a random time."""
        self.stage.forget()
        end = min(self.elapsed() + seconds, self.settings.seconds)
        while self.elapsed() < end and not self.ending():
            self._check_unless_down()
            self.stage.undo_due()
            self.stage.play_one()
            time.sleep(self.stage.chance.expovariate(self.settings.troubles_a_second))

    def _check_unless_down(self):
        if not any("programs" in taken for _, _, taken, _ in self.stage.under_way):
            self.plant.check_running()

    # The calm.

    def calm(self):
        """Undoes everything, and waits until all is as it should be; measures then."""
        self.stage.undo_all()
        since = self.elapsed()
        overdue = self._wait_until_right()
        self.ledger.calms += len(SLOTS)
        if overdue:
            self._have_it_mended(overdue)
        else:
            self.recoveries.append(self.elapsed() - since)
        self._fill_dbman()
        self._wait_for_empty_queues()
        readings = levels_of({name: self.plant.pid(name) for name in NAMES})
        self.levels.append((self.elapsed(), dict(self.plant.starts), readings))
        self.last_calm = ("right again after " + ("an operator's reset" if overdue else f"{self.recoveries[-1]:.1f} s")
                          + "; " + ", ".join(f"{name} {one.resident_kb} kB" for name, one in readings.items()))
        self._stay_right()
        self.judge_samples()

    def wrong(self, limit=ANSWER_TIME):
        """What is wrong now, by slot: not in service, or not as the chassis says. Each answer must come within
        so many seconds."""
        found = {slot: [why] for slot, why in self.plant.not_in_service().items()}
        shown = inventory(functools.partial(ask, limit=limit))
        for what, told, true in zip(("card", "ONU"), shown, truth()):
            for row in told - true:
                found.setdefault(int(row[0]), []).append(f"{what} {row[1:]} is in the inventory alone")
            for row in true - told:
                found.setdefault(int(row[0]), []).append(f"{what} {row[1:]} is missing in the inventory")
        return found

    def _wait_until_right(self):
        """Until nothing is wrong but what is overdue; gives that. Each slot has the time that is promised for
        its troubles, from the end of each."""
        while True:
            self.plant.check_running()
            wrong = self.wrong()
            overdue = {slot: what for slot, what in wrong.items()
                       if self.elapsed() > self.stage.incidents.deadline(slot)}
            if len(overdue) == len(wrong):
                return overdue
            time.sleep(1)

    def _wait_for_empty_queues(self):
        end = time.monotonic() + QUEUES_LIMIT
        while udp_queues()[0] or local_queue():
            if time.monotonic() > end:
                raise Disagreement(f"at rest {udp_queues()[0]} bytes wait at a UDP socket, {local_queue()} "
                                   "at a local one")
            time.sleep(0.2)

    def _stay_right(self):
        """Nothing may change any more while nothing happens, over a round of the daemon's own rechecks."""
        end = time.monotonic() + RECHECK_TIME
        while time.monotonic() < end and not self.ending():
            self.plant.check_running()
            wrong = self.wrong()
            if wrong:
                self._complain(f"right at first, and then wrong though nothing happened: {_shown(wrong)}")
                self._mend(wrong)
                return
            time.sleep(1)

    # What an operator mends: a fault has cost a card or the inventory something for good.

    def _have_it_mended(self, wrong):
        for slot, what in sorted(wrong.items()):
            hit = self.stage.faults_at[slot]
            text = f"{_shown({slot: what})}; faults there: {', '.join(sorted(hit)) or 'none'}"
            if is_excused(what, hit):
                self.tell(f"an operator resets a card; {text}")
                self.mended.append(Mended(self.elapsed(), slot, what, sorted(hit)))
            else:
                late = self.elapsed() - self.stage.incidents.deadline(slot)
                self._complain(f"wrong {late:.0f} s after everything had to be right: {text}")
        self.ledger.mended += len(wrong)
        self._mend(wrong)

    def _mend(self, wrong):
        self.stage.incidents.add(Incident("operator's reset", frozenset(wrong), RECOVERY_LIMIT, self.elapsed(),
                                          self.elapsed()))
        for slot in wrong:
            ask("dbman", "slot", "announce", slot)
            ask("dbman", "slot", "reset", slot)
        still = self._wait_until_right()
        if still:
            raise Disagreement(f"wrong {RECOVERY_LIMIT} s after the cards' reset: {_shown(still)}")

    def _complain(self, text):
        """Goes on, and keeps what the wire has seen until now."""
        self.complaints.append(text)
        self.tell(f"wrong: {text}")
        if len(self.complaints) > MOST_JOURNALS:
            return
        path = self.plant.keep_journal(len(self.complaints))
        self.tell(f"the last datagrams are in {path}")


def _least(samples):
    """By program, the fewest descriptors and threads of all samples, for want of a calm."""
    return {name: Reading(0, *(min((getattr(one.readings[name], what) for one in samples if name in one.readings),
                                   default=0) for what in ("descriptors", "threads"))) for name in NAMES}


def _shown(wrong):
    """As a text, no longer than four statements a slot."""
    return "; ".join(f"slot {slot}: " + "; ".join(what[:4]) + (f"; {len(what) - 4} more" if len(what) > 4 else "")
                     for slot, what in sorted(wrong.items()))
