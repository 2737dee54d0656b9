"""Rounds of a soak: a storm of troubles, then a calm in which everything has to be right again."""

import time
from collections import namedtuple

import faults
from plant import NAMES, ask
from readings import level_of, local_queue, reading_of, udp_queues
from settings import RECOVERY_LIMIT

from support.product import inventory, truth
from troubles import SLOTS

QUEUES_LIMIT = 10
SAMPLE_EVERY = 10
RECHECK_TIME = 15  # the daemon looks whether all is still there on every twelfth pass, of a second and more

Sample = namedtuple("Sample", ["at", "readings", "udp_bytes", "udp_drops", "local_bytes"])
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
        self.samples = []
        self.recoveries = []
        self.mended = []
        self.complaints = []
        self.levels = []  # (time, starts of the programs, readings) of every calm
        self.next_sample = 0.0
        self.last_calm = ""

    def begin(self):
        """The time counts from here on."""
        self.begun = time.monotonic()

    def elapsed(self):
        return time.monotonic() - self.begun

    def tick(self):
        """What has to happen all the time: samples, and a look whether everything still runs."""
        self.plant.check_running()
        if self.elapsed() >= self.next_sample:
            self.next_sample = self.elapsed() + SAMPLE_EVERY
            self._sample()

    def _sample(self):
        readings = {name: reading_of(self.plant.pid(name)) for name in NAMES
                    if self.plant.processes[name].is_running()}
        self.samples.append(Sample(self.elapsed(), readings, *udp_queues(), local_queue()))

    # The storm.

    def burst(self):
        """The largest burst of alarms that a storm can draw, at every card at once: what is bounded is as
        full then as it gets, and the memory for it is taken."""
        for slot in SLOTS:
            faults.largest_burst(slot)
        time.sleep(faults.LARGEST_BURST_SECONDS)

    def storm(self, seconds):
        """Troubles one after another, each at a random time."""
        self.stage.forget()
        end = min(self.elapsed() + seconds, self.settings.seconds)
        while self.elapsed() < end and not self.ending():
            self._tick_unless_down()
            self.stage.undo_due()
            self.stage.play_one()
            time.sleep(self.stage.chance.expovariate(self.settings.troubles_a_second))

    def _tick_unless_down(self):
        if not any("programs" in taken for _, _, taken in self.stage.under_way):
            self.tick()

    # The calm.

    def calm(self):
        """Undoes everything, and waits until all is as it should be; measures then."""
        self.stage.undo_all()
        since = time.monotonic()
        wrong = self._wait_until_right(since, RECOVERY_LIMIT)
        if wrong:
            self._have_it_mended(wrong)
        else:
            self.recoveries.append(time.monotonic() - since)
        self._wait_for_empty_queues()
        readings = {name: level_of(self.plant.pid(name)) for name in NAMES}
        self.levels.append((self.elapsed(), dict(self.plant.starts), readings))
        self.last_calm = ("right again after " + ("an operator's reset" if wrong else f"{self.recoveries[-1]:.1f} s")
                          + "; " + ", ".join(f"{name} {one.resident_kb} kB" for name, one in readings.items()))
        self._stay_right()

    def wrong(self):
        """What is wrong now, by slot: not in service, or not as the chassis says."""
        found = {slot: [why] for slot, why in self.plant.not_in_service().items()}
        for what, told, true in zip(("card", "ONU"), inventory(), truth()):
            for row in told - true:
                found.setdefault(int(row[0]), []).append(f"{what} {row[1:]} is in the inventory alone")
            for row in true - told:
                found.setdefault(int(row[0]), []).append(f"{what} {row[1:]} is missing in the inventory")
        return found

    def _wait_until_right(self, since, limit):
        while True:
            self.tick()
            wrong = self.wrong()
            if not wrong or time.monotonic() - since > limit:
                return wrong
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
            self.tick()
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
            if self._explained(what, hit):
                self.tell(f"an operator resets a card; {text}")
                self.mended.append(Mended(self.elapsed(), slot, what, sorted(hit)))
            else:
                self._complain(f"wrong {RECOVERY_LIMIT} s after the last trouble: {text}")
        self._mend(wrong)

    def _mend(self, wrong):
        for slot in wrong:
            ask("dbman", "slot", "announce", slot)
            ask("dbman", "slot", "reset", slot)
        still = self._wait_until_right(time.monotonic(), RECOVERY_LIMIT)
        if still:
            raise Disagreement(f"wrong {RECOVERY_LIMIT} s after the cards' reset: {_shown(still)}")

    def _complain(self, text):
        """Goes on, and keeps what the wire has seen until now."""
        self.complaints.append(text)
        self.tell(f"wrong: {text}")
        path = self.plant.keep_journal(len(self.complaints))
        self.tell(f"the last datagrams are in {path}")

    @staticmethod
    def _explained(what, hit):
        """Lost or falsified datagrams explain a card that isn't in service; only falsified ones explain
        an inventory that shows what isn't there."""
        effects = {faults.KINDS[kind][0] for kind in hit}
        untrue = any("inventory" in text for text in what)
        in_service = not any(text.startswith("card ") and " of " in text for text in what)
        if faults.FALSIFYING in effects:
            return True
        return faults.LOSING in effects and not (untrue and in_service)


def _shown(wrong):
    """As a text, no longer than four statements a slot."""
    return "; ".join(f"slot {slot}: " + "; ".join(what[:4]) + (f"; {len(what) - 4} more" if len(what) > 4 else "")
                     for slot, what in sorted(wrong.items()))
