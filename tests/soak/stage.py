"""Where troubles are played: what is in trouble now, and what has been played so far."""

import time
from collections import Counter, defaultdict, deque

import faults
from incidents import Incident, Incidents
from plant import Refused, ask
from troubles import SLOTS, control

# A card that didn't answer keeps the daemon waiting for so many seconds. The events of that time are taken
# together then, and all of them are lost when a fault has spoilt one: none of those may be the last of an ONU.
LONGEST_EXCHANGE = 16
UNDO_LIMIT = 40


class Busy(Exception):
    """All of a kind are in trouble already; another trouble is drawn."""


class Stage:
    """Plays random troubles on a plant and undoes each when its time is over; `clock` gives the seconds
    by which it notes them."""

    def __init__(self, plant, chance, troubles, clock=time.monotonic):
        self.plant = plant
        self.chance = chance
        self.troubles = troubles
        self.played = Counter()  # (group, name)
        self.refused = Counter()  # the same, when the product or the simulator refused
        self.onus = [(row["onu"], row["mac"]) for row in control("onu", "list")["onus"]]
        self.under_way = []  # (end, undo, what it takes)
        self.taking = []
        self.clock = clock
        self.incidents = Incidents()
        self.touched = set()
        self.lasting = 0.0
        self.last_refusals = deque(maxlen=5)
        self.forget()

    def forget(self):
        """Begins a new round: what has hit the slots so far counts no more."""
        self.faults_at = defaultdict(set)
        self.swapped = set()

    # What a trouble takes; nothing else gets it until the trouble is undone.

    def _take(self, name):
        if any(name in taken for _, _, taken, _ in self.under_way) or name in self.taking:
            raise Busy
        self.taking.append(name)

    def take_slot(self):
        slot = self.any_slot()
        self._take(("slot", slot))
        return slot

    def take_onu(self):
        name, mac = self.any_onu()
        self._take(("onu", name))
        return name, mac

    def take_programs(self):
        """Only one of the programs is halted or down at a time."""
        self._take("programs")
        self.touch(*SLOTS)

    def any_slot(self):
        slot = self.chance.choice(SLOTS)
        self.touch(slot)
        return slot

    def any_onu(self):
        name, mac = self.chance.choice(self.onus)
        self.touch(int(name.split("/")[0]))
        return name, mac

    def touch(self, *slots):
        """What the trouble that begins happens to."""
        self.touched.update(slots)

    def last(self, seconds):
        """How long the trouble that begins goes on by itself."""
        self.lasting = seconds

    def command(self, *words):
        """Has dbman do something, unless a program is halted or down."""
        if any("programs" in taken for _, _, taken, _ in self.under_way):
            raise Busy
        ask("dbman", *words)

    # Playing.

    def play_one(self):
        """Begins one random trouble."""
        trouble, = self.chance.choices(self.troubles, [one.weight for one in self.troubles])
        self.taking, self.touched, self.lasting = [], set(), 0.0
        began = self.clock()
        try:
            undo = trouble.begin(self)
        except Busy:
            return
        except Refused:
            self.refused[trouble.group, trouble.name] += 1
            self._note(trouble, began)
            return
        self.played[trouble.group, trouble.name] += 1
        incident = self._note(trouble, began)
        if undo:
            incident.ended = None
            end = time.monotonic() + _between(self.chance, *trouble.seconds)
            self.under_way.append((end, undo, self.taking, incident))

    def _note(self, trouble, began):
        """As an incident that has ended, or ends by itself."""
        slots = self.touched if trouble.recovery else ()
        return self.incidents.add(Incident(trouble.name, frozenset(slots), trouble.recovery, began,
                                           self.clock() + self.lasting, halts=trouble.group == "program"))

    def undo_due(self):
        """Undoes the troubles whose time is over."""
        now = time.monotonic()
        self._undo([one for one in self.under_way if one[0] <= now])

    def undo_all(self):
        """Undoes all: first what holds up a program, then faults and what has happened to cards, as the rest
        may need them."""
        self._undo([one for one in self.under_way if _takes(one, "programs")])
        control("fault", "remove", "all")
        self.incidents.end(lambda one: one.name in faults.KINDS, self.clock())
        time.sleep(LONGEST_EXCHANGE)
        for held in ("slot", "onu", None):
            self._undo([one for one in self.under_way if held is None or _takes(one, held)])
        end = time.monotonic() + UNDO_LIMIT
        while self.under_way and time.monotonic() < end:
            time.sleep(1)
            self._undo(list(self.under_way))
        assert not self.under_way, f"can't be undone: {', '.join(self.last_refusals)}"

    def _undo(self, ending):
        for one in ending:
            self.under_way.remove(one)
            try:
                one[1]()
                one[3].ended = self.clock()
            except (Busy, Refused) as refusal:
                # What it needs is in trouble itself just now, or a new card that nobody has spoken to yet.
                self.last_refusals.append(str(refusal))
                self.under_way.append((one[0] + 2, *one[1:]))


def _takes(trouble, held):
    return any(name == held or name[0] == held for name in trouble[2])


def _between(chance, least, most):
    return least if least == most else chance.uniform(least, most)
