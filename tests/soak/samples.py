"""Looks at the product every ten seconds, from a thread of its own, whatever the soak is doing."""

import threading
import time
from collections import namedtuple

from plant import NAMES, Refused
from readings import local_queue, reading_of, udp_queues

EVERY = 10
DRAIN_TIME = 10  # in which a queue must have been empty once
INVENTORY_TIME = 6  # for each of the questions

# `at` to `until`, on the clock of the soak; what is wrong, by slot, or None and why it wasn't seen; how long
# a queue was not empty, or None when it never was.
Sample = namedtuple("Sample", ["at", "until", "readings", "udp_bytes", "udp_drops", "local_bytes", "drained",
                               "wrong", "unseen"])


class Sampler:
    """Takes samples from start() to stop(); `clock` gives the seconds of the soak, `wrong` what is wrong by
    slot within a time for each answer, and raises Refused without one."""

    def __init__(self, plant, clock, wrong):
        self.plant = plant
        self.clock = clock
        self.wrong = wrong
        self.samples = []
        self.stopped = threading.Event()
        self.thread = threading.Thread(target=self._run, daemon=True)

    def start(self):
        self.thread.start()

    def has_begun(self):
        return self.thread.ident is not None

    def stop(self):
        self.stopped.set()
        self.thread.join(60)

    def _run(self):
        due = self.clock()
        while not self.stopped.wait(max(0.0, due - self.clock())):
            self.samples.append(self._take())
            due += EVERY

    def _take(self):
        at = self.clock()
        readings = {}
        for name in NAMES:
            try:
                readings[name] = reading_of(self.plant.pid(name))
            except (OSError, TypeError):
                continue  # it has ended: its status has no sizes any more, or is gone
        queues = (*udp_queues(), local_queue())
        wrong, unseen = self._inventory()
        return Sample(at, self.clock(), readings, *queues, self._drained(queues), wrong, unseen)

    def _inventory(self):
        try:
            return self.wrong(INVENTORY_TIME), None
        except (Refused, AssertionError, OSError) as error:
            return None, str(error)

    def _drained(self, queues):
        """How long it took until each queue was empty once; None when one never was."""
        udp, local = queues[0], queues[2]
        began = time.monotonic()
        while udp or local:
            if time.monotonic() - began > DRAIN_TIME or self.stopped.wait(0.1):
                return None
            udp, local = udp and udp_queues()[0], local and local_queue()
        return time.monotonic() - began
