"""Faults between the daemon and cards that are in service: on some slots of a chassis at once, while
ONUs come and go and commands are given, with one slot left without any.

A round is played in steps: begin, end, wait until everything is right again, repair what a fault may
leave wrong, and look at the slot without faults.
"""

import time
from collections import Counter, namedtuple
from datetime import datetime, timezone

from . import recovery
from .measures import repeated
from .product import ask, control, truth
from .product import inventory as inventory_by
from .simulator import datagrams, journal_since, request
from .vlan_commands import commands_told, complaints_about
from .waiting import wait_for

# What may be wrong in the inventory when a fault is over, until the slot is repaired.
NOTHING, ONE_THAT_LEFT, ANYTHING = range(3)
# How a slot is repaired, and how long that takes at the most.
ANNOUNCE = ("announce", recovery.ANNOUNCEMENT)
RESET = ("reset", recovery.RESTART)

Kind = namedtuple("Kind", ["options", "wrong", "repair", "lingers"], defaults=[NOTHING, None, 0])
BOTH = ("--direction", "all")
# Nothing is left for another fault by these; beside one they take every other datagram, by chance.
SWALLOWING = ("drop", "mute")
SHARED = ("--probability", "0.5")
# How long a round waits for each of its faults to have hit.
HIT_LIMIT = 120

# Every kind of fault, as hard as it can be: at each datagram. An ONU that leaves can be hidden from the
# daemon, by an event that is lost, by a list that is misread, and by a pass that takes long: its list of
# ONUs then tells of it before its alarm does. Bits that are altered can make it believe anything, and
# what was only pretended is missing on the card.
KINDS = {
    "drop": Kind(BOTH, ONE_THAT_LEFT, ANNOUNCE),
    "delay": Kind(("--time", "2s", *BOTH), ONE_THAT_LEFT, ANNOUNCE, 4),
    "duplicate": Kind(("--copies", "2", *BOTH), ONE_THAT_LEFT, ANNOUNCE),
    "reorder": Kind(BOTH, ONE_THAT_LEFT, ANNOUNCE),
    "truncate": Kind(("--to", "8", *BOTH), ONE_THAT_LEFT, ANNOUNCE),
    "flip-bit": Kind(BOTH, ANYTHING, RESET),
    "wrong-ctag": Kind(BOTH, ONE_THAT_LEFT, ANNOUNCE),
    "wrong-id": Kind(BOTH, ONE_THAT_LEFT, ANNOUNCE),
    "wrong-length": Kind(BOTH, ONE_THAT_LEFT, ANNOUNCE),
    "result": Kind(("--code", "7"), ONE_THAT_LEFT, ANNOUNCE),
    "late": Kind(("--time", "16s"), ONE_THAT_LEFT, ANNOUNCE),
    "mute": Kind((), ONE_THAT_LEFT, ANNOUNCE),
    "event-burst": Kind(("--rate", "100")),
    "wrong-port": Kind((), ONE_THAT_LEFT, ANNOUNCE),
    "garbage": Kind(("--rate", "100", "--stranger")),
    "pretend": Kind((), NOTHING, RESET),
}

# By them the daemon loses datagrams, gets them late, or gets more of them; none tells it something else.
LOSING = ("drop", "delay", "reorder", "wrong-ctag", "wrong-id", "mute", "wrong-port", "late", "event-burst")
# A fault that lasts no longer leaves every exchange its last try at least: the card isn't taken for one that has
# lost its configuration, and nothing is given up.
LEAVES_A_TRY = (recovery.TRIES - 1) * recovery.TRY

FIRST_EVENT = 0x8000
VLANS_DURING, VLAN_AFTER = [101, 102, 103], 104
# What the daemon prints when the card refuses an ONU's VLAN, and when it doesn't answer.
REFUSED, UNANSWERED = "Message ID <273>", "Impossible to send messages to card"


def moment(text):
    """A time in UTC as dbman and the simulator write it, cut to microseconds."""
    return datetime.fromisoformat(text.rstrip("Z")[:26])


def of_slot(pictures, slot):
    return tuple({row for row in rows if row[0] == str(slot)} for rows in pictures)


def seconds(entry):
    """When a datagram passed, on the simulator's clock."""
    return entry["time_ns"] / 1e9


def inventory():
    """As dbman tells it at its control socket, without a process for each question: looks must be quick
    where times are measured by them."""
    return inventory_by(lambda _, *words: request("/tmp/dbman.ctl", command=" ".join(words)))


def journal(slot, name, direction, last=None):
    """The datagrams of this name and direction, of all of the card's, or of its last ones, 500 at the most."""
    entries = request(verb="journal", card=slot, last=last)["entries"] if last else journal_since(0, slot)
    return [entry for entry in entries
            if entry["name"] == name and entry["direction"] == direction]


class Slot:
    """One slot with faults: which, what they may leave wrong, and how it is repaired."""

    def __init__(self, number, kinds, duration):
        self.number = number
        self.kinds = kinds
        rows = [KINDS[kind] for kind in kinds]
        self.wrong = max(row.wrong for row in rows)
        self.repair = max((row.repair for row in rows if row.repair), key=lambda way: way[1],
                          default=None)
        # One that is alone hits for certain, so that it can end by itself, to the moment.
        by_itself = len(kinds) == 1 and kinds[0] in LOSING and duration <= LEAVES_A_TRY
        self.lasts = duration if by_itself else None
        self.limit = (recovery.WIRE if by_itself else recovery.RESTART) + sum(row.lingers for row in rows)
        self.ended_at = None  # on the simulator's clock
        self.staying, self.leaving, self.coming = (self.onu(index) for index in ("0/0", "0/1", "1/1"))
        self.staying_mac, self.leaving_mac = (control("onu", onu, "get")["mac"]
                                              for onu in (self.staying, self.leaving))
        self.resets = control("card", str(number), "get")["resets"]
        self.faults = {}  # by kind
        self.ends = None  # when they do by themselves, on the same clock

    def onu(self, index):
        return f"{self.number}/{index}"

    def begin(self):
        """The faults, and what is to happen while they last."""
        lasting = ("--for", f"{self.lasts}s") if self.lasts else ()
        for kind in self.kinds:
            shared = SHARED if kind in SWALLOWING and len(self.kinds) > 1 else ()
            added = control("fault", "add", kind, "--card", str(self.number), *KINDS[kind].options, *shared,
                            *lasting)
            self.faults[kind] = added["fault"]
            self.ends = added["ends_ns"] / 1e9 if lasting else None
        self.since = datagrams()
        for vlan in VLANS_DURING:
            self.command(vlan)
        control("onu", self.leaving, "unplug")
        control("onu", self.coming, "plug")

    def note_end(self, removed_at):
        """When its faults have ended: by themselves, or when they were removed."""
        assert self.ends is None or self.ends <= removed_at
        self.ended_at = self.ends or removed_at

    def command(self, vlan):
        ask("dbman", "onu", "vlan", self.staying_mac, str(vlan), "--slot", str(self.number))

    def is_right(self, there, true, whole):
        """Whether what the database manager shows is what is there; not whole, what is never shown
        again by itself may be missing from the truth."""
        shown, real = of_slot(there, self.number), of_slot(true, self.number)
        if whole or self.wrong == NOTHING:
            return shown == real
        if self.wrong == ANYTHING:
            return True
        more = {mac for _, _, mac in shown[1] - real[1]}
        return shown[0] == real[0] and real[1] <= shown[1] and more <= {self.leaving_mac}

    def is_served(self, row, whole):
        provisioned = row["onus_provisioned"] >= row["onus_discovered"]
        if whole or not (self.wrong == ANYTHING or "pretend" in self.kinds):
            return row["state"] == "in-service" and provisioned
        return True

    def is_refreshed(self, since):
        """Whether the card was asked for its links since then, and has answered."""
        answers = journal(self.number, "Get List of Discovered Links", "out", 100)
        return any(seconds(entry) > since and not entry["dropped"] for entry in answers)

    def kinds_without_effect(self):
        """Those whose fault hasn't hit yet, as the journal tells; also not a datagram that went on, unless
        it is one that stops them."""
        return [kind for kind, fault in self.faults.items()
                if not any(kind in SWALLOWING or not entry["dropped"]
                           for entry in request(verb="journal", fault=fault, last=500)["entries"])]

    def told(self):
        """The commands that have come to the card since the faults began, as the journal tells."""
        return commands_told(journal_since(self.since, self.number))

    def kept_vlan(self):
        """What the ONU's VLAN must be by the last command that reached its card unharmed; None when the
        card can't tell: it was reset since, or took altered bits."""
        if self.wrong == ANYTHING or control("card", str(self.number), "get")["resets"] > self.resets:
            return None
        return next((command.vlan for command in reversed(self.told())
                     if command.was_carried_out(self.faults.get("pretend"))), None)


def answered_twice(slot, since):
    """The answers of which a second one came since then, by name and ctag."""
    answers = Counter((entry["name"], entry["ctag"]) for entry in journal_since(0, slot)
                      if entry["direction"] == "out" and seconds(entry) > since and not entry["dropped"]
                      and entry["id"] is not None and entry["id"] < FIRST_EVENT)
    return [answer for answer, count in answers.items() if count > 1]


def simulator_clock():
    """The time now on the clock that the journal has; the newest datagram's says what that showed."""
    newest = request(verb="journal", last=1)["entries"][-1]
    passed = moment(newest["wall"]).replace(tzinfo=timezone.utc).timestamp()
    return seconds(newest) + time.time() - passed


class Round:
    """Plays faults on slots of a chassis that is in service, for so many seconds; `kinds` by slot, several at
    once each."""

    def __init__(self, daemon, kinds, clean, duration):
        self.daemon = daemon
        self.duration = duration
        self.slots = [Slot(slot, names, duration) for slot, names in kinds.items()]
        self.clean = clean
        self.clean_since = datagrams()
        self.began = simulator_clock()

    def prepare(self):
        """The ONUs that are to come are not there yet."""
        for slot in self.slots:
            control("onu", slot.coming, "unplug")
        wait_for(lambda: inventory() == truth(), 30, "the ONUs that were unplugged are off-line", 0.3)

    def play(self):
        """All faults for their time, and until each has hit, with all that is to happen meanwhile."""
        self.lines_before = len(self.daemon.texts())
        for slot in self.slots:
            slot.begin()
        began = simulator_clock()
        self.change_behind_the_clean_card()
        wait_for(lambda: simulator_clock() - began >= self.duration, self.duration + 60, "the time is over",
                 0.3)
        wait_for(lambda: not any(slot.kinds_without_effect() for slot in self.slots), HIT_LIMIT,
                 lambda: "every fault has hit; there are without effect: " +
                         str({slot.kinds: slot.kinds_without_effect() for slot in self.slots}), 0.3)
        removed_at = simulator_clock()
        request(verb="fault", action="remove", fault="all")
        for slot in self.slots:
            slot.note_end(removed_at)

    def change_behind_the_clean_card(self):
        for vlan in VLANS_DURING:
            mac = control("onu", f"{self.clean}/1/0", "get")["mac"]
            ask("dbman", "onu", "vlan", mac, str(vlan), "--slot", str(self.clean))
        onu = f"{self.clean}/0/0"
        mac = control("onu", onu, "get")["mac"]
        for change, state, event in (("unplug", "off-line", "Report Alarm"),
                                     ("plug", "on-line", "Link Discovery")):
            known = len(journal(self.clean, event, "out"))
            control("onu", onu, change)
            wait_for(lambda: ask("dbman", "onu", "show", mac)["onu"]["state"] == state, 30,
                     f"{onu} is {state}", 0.1)
            sent = journal(self.clean, event, "out")[known]
            reported = ask("dbman", "onu", "show", mac)["onu"]["last_report"]
            took = (moment(reported) - moment(sent["wall"])).total_seconds()
            assert took <= recovery.EVENT, f"{change} behind the clean card was reported after {took} s"

    def wait_until_right(self, slots, limits, since, whole):
        """Waits for these slots, each at most as long as its limit from its time in `since`, on the
        simulator's clock; gives the seconds that each has taken, up to the end of the look that found it right,
        without those that took longer."""
        took, missing, longest = {}, list(slots), max(limits.values())

        def look():
            there, true = inventory(), truth()
            rows = {row["slot"]: row for row in request(verb="list")["cards"]}
            right = [slot for slot in missing if slot.is_right(there, true, whole)
                     and slot.is_served(rows[slot.number], whole) and slot.is_refreshed(since[slot])]
            looked_at = simulator_clock()
            for slot in right:
                took[slot] = looked_at - since[slot]
                missing.remove(slot)
            return not missing or looked_at - max(since.values()) > longest

        wait_for(look, 2 * longest, "the cards are asked at all", 0.5)
        return {slot: time for slot, time in took.items() if time <= limits[slot]}

    def picture(self, right):
        """What is shown and what is there in the slots that aren't right; prints what was said."""
        there, true, rows = inventory(), truth(), control("list")["cards"]
        events = ask("dbman", "events", "--limit", "2000")["events"]
        wrong = [slot for slot in self.slots if slot not in right]
        for slot in wrong:
            print("\n".join(f"{event['time']} {event['text']}" for event in events
                            if f"slot {slot.number} " in event["text"]))
            entries = control("journal", "--card", str(slot.number), "--last", "150")["entries"]
            print("\n".join(f"{entry['wall']} {entry['direction']} {entry['name']} {entry['ctag']}"
                            for entry in entries))
        return [(slot.kinds, of_slot(there, slot.number), of_slot(true, slot.number),
                 [row for row in rows if row["slot"] == slot.number]) for slot in wrong]

    def recover(self):
        """After the faults: right again by itself, and wholly right once it is repaired."""
        limits = {slot: slot.limit for slot in self.slots}
        ends = {slot: slot.ended_at for slot in self.slots}
        took = self.wait_until_right(self.slots, limits, ends, False)
        assert len(took) == len(self.slots), self.picture(took)
        self.check_commands()
        since = simulator_clock()
        repaired = self.repair(self.slots)
        repaired |= self.repair([slot for slot in self.slots
                                 if slot not in repaired and self.was_misled(slot, since)])
        assert len(repaired) == len(self.slots), self.picture(repaired)
        self.check_command_after()
        assert self.daemon.is_running()
        for slot in self.slots:
            print(f"{'+'.join(slot.kinds)}: right after {took[slot]:.1f} s of {slot.limit}, "
                  f"{slot.repair and slot.repair[0]} after {repaired[slot]:.1f} s")

    def repair(self, slots):
        """Gives the seconds that each slot has taken that was right in time."""
        if not slots:
            return {}
        since = {}
        for slot in slots:
            since[slot] = simulator_clock()
            if slot.repair:
                ask("dbman", "slot", slot.repair[0], str(slot.number))
        limits = {slot: slot.repair[1] if slot.repair else slot.limit for slot in slots}
        return self.wait_until_right(slots, limits, since, True)

    @staticmethod
    def was_misled(slot, since):
        """Whether the daemon took an answer twice, which it misreads: a machine that stands still for
        seconds has it ask again though the answer is there. Prints which."""
        doubled = answered_twice(slot.number, since)
        print(f"slot {slot.number} ({'+'.join(slot.kinds)}) is repaired once more, as its card answered "
              f"twice: {doubled}" if doubled else f"slot {slot.number}: no answer came twice")
        return bool(doubled)

    def check_command_after(self):
        for slot in self.slots:
            slot.command(VLAN_AFTER)
        for slot in self.slots:
            wait_for(lambda: control("onu", slot.staying, "get")["vlan"] == VLAN_AFTER, 30,
                     f"slot {slot.number} carries out commands behind {slot.kinds}", 0.3)
            assert [command.vlan for command in slot.told()] == [*VLANS_DURING, VLAN_AFTER]

    def check_commands(self):
        """What was commanded during a fault came to the card, in order, as often as it is tried; the card
        has done it, or the daemon has printed why it isn't done."""
        told = {}
        for slot in self.slots:
            wait_for(lambda: not complaints_about(slot.told(), VLANS_DURING), recovery.TRIES * recovery.TRY,
                     lambda: f"slot {slot.number}, {slot.kinds}: "
                             f"{complaints_about(slot.told(), VLANS_DURING)}", 0.5)
            told[slot] = slot.told()
            kept, wanted = control("onu", slot.staying, "get")["vlan"], slot.kept_vlan()
            assert wanted in (None, kept), f"slot {slot.number}, {slot.kinds}: VLAN {kept}, not {wanted}"
            print(f"{'+'.join(slot.kinds)}: " + ", ".join(map(str, told[slot])) + f"; kept {wanted}")
        lines = self.daemon.texts()[self.lines_before:]
        for words, outcome in ((REFUSED, "refused"), (UNANSWERED, "unanswered")):
            wanted = [str(command) for commands in told.values() for command in commands
                      if command.outcome() == outcome]
            printed = sum(words in line for line in lines)
            assert printed >= len(wanted), f"{len(wanted)} commands are {outcome}, {printed} lines say so: {wanted}"

    def check_the_clean_card(self):
        """Its questions came in their period, from the beginning to now, and none had to be sent again; its
        commands were done at once."""
        requests = [entry for entry in journal_since(self.clean_since, self.clean) if entry["direction"] == "in"]
        assert requests and repeated(requests) == []
        asked = journal(self.clean, "Get OAM Extension Set Support", "in")
        times = [self.began, *(seconds(entry) for entry in asked if seconds(entry) > self.began),
                 simulator_clock()]
        longest = max(later - earlier for earlier, later in zip(times, times[1:]))
        assert len(times) > 2 and longest <= recovery.RECHECK, f"asked only after {longest:.1f} s"
        assert of_slot(inventory(), self.clean) == of_slot(truth(), self.clean)
        told = commands_told(journal_since(self.clean_since, self.clean))
        assert [(command.vlan, len(command.tries), command.outcome()) for command in told] == [
            (vlan, 1, "done") for vlan in VLANS_DURING]
