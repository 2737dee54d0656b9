"""When something was in trouble, and until when that explains what is wrong."""

import threading
from dataclasses import dataclass


@dataclass
class Incident:
    """A trouble at some slots. `recovery` is how long after its end everything is right again at the
    latest; `ended` is None while it lasts. `halts` is said of one that keeps a program from answering, or
    from keeping up."""
    name: str
    slots: frozenset
    recovery: float
    began: float
    ended: float | None = None
    halts: bool = False

    def over_at(self):
        return None if self.ended is None else self.ended + self.recovery


class Incidents:
    """All that have been, on one clock. Any thread."""

    def __init__(self):
        self.all = []
        self.lock = threading.Lock()

    def add(self, incident):
        with self.lock:
            self.all.append(incident)
        return incident

    def end(self, wanted, now):
        """Ends those that are wanted, also those that would have gone on until later."""
        for one in self.copy():
            if wanted(one) and (one.ended is None or one.ended > now):
                one.ended = now

    def copy(self):
        with self.lock:
            return list(self.all)

    def at(self, slot):
        return [one for one in self.copy() if slot in one.slots]

    def explain(self, slot, since, until):
        """Whether something wrong at this slot, seen between these times, is a trouble that is on, or one
        that the product still has time to recover from."""
        return any(one.began <= until and (one.ended is None or one.over_at() >= since) for one in self.at(slot))

    def deadline(self, slot):
        """When everything at this slot has to be right; None while a trouble is on."""
        over = [one.over_at() for one in self.at(slot)]
        return None if None in over else max(over, default=0.0)

    def halted(self, since, until, after):
        """Whether a program was kept from answering between these times, or shortly before."""
        return any(one.halts and one.began <= until and (one.ended is None or one.ended + after >= since)
                   for one in self.copy())
