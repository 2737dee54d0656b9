"""Faults between the daemon and cards that are in service: on some slots of a chassis at once, while
ONUs come and go and commands are given, with one slot left without any.

A round is played in steps: begin, end, wait until everything is right again, repair what a fault may
leave wrong, and look at the slot without faults.
"""

from collections import namedtuple
from datetime import datetime

from . import recovery
from .product import ask, control, inventory, truth
from .waiting import wait_for

# What may be wrong in the inventory when a fault is over, until the slot is repaired.
NOTHING, ONE_THAT_LEFT, ANYTHING = range(3)
# How a slot is repaired, and how long that takes at the most.
ANNOUNCE = ("announce", recovery.ANNOUNCEMENT)
RESET = ("reset", recovery.RESTART)

Kind = namedtuple("Kind", ["options", "wrong", "repair", "lingers"], defaults=[NOTHING, None, 0])
BOTH = ("--direction", "all")

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
    "result": Kind(("--code", "3"), ONE_THAT_LEFT, ANNOUNCE),
    "late": Kind(("--time", "16s"), ONE_THAT_LEFT, ANNOUNCE),
    "mute": Kind((), ONE_THAT_LEFT, ANNOUNCE),
    "event-burst": Kind(("--rate", "100")),
    "wrong-port": Kind((), ONE_THAT_LEFT, ANNOUNCE),
    "garbage": Kind(("--rate", "100", "--stranger")),
    "pretend": Kind((), NOTHING, RESET),
}

VLAN_DURING, VLAN_AFTER = 101, 102
# What the daemon prints when the card refuses an ONU's VLAN, or doesn't answer.
COMMAND_FAILED = ("Message ID <273>", "Impossible to send messages to card")


def moment(text):
    """A time in UTC as dbman and the simulator write it, cut to microseconds."""
    return datetime.fromisoformat(text.rstrip("Z")[:26])


def of_slot(pictures, slot):
    return tuple({row for row in rows if row[0] == str(slot)} for rows in pictures)


def seconds(entry):
    """When a datagram passed, on the simulator's clock."""
    return entry["time_ns"] / 1e9


def journal(slot, name, direction, last=3000):
    return [entry for entry in control("journal", "--card", str(slot), "--last", str(last))["entries"]
            if entry["name"] == name and entry["direction"] == direction]


class Slot:
    """One slot with faults: which, what they may leave wrong, and how it is repaired."""

    def __init__(self, number, kinds):
        self.number = number
        self.kinds = kinds
        rows = [KINDS[kind] for kind in kinds]
        self.wrong = max(row.wrong for row in rows)
        self.repair = max((row.repair for row in rows if row.repair), key=lambda way: way[1],
                          default=None)
        self.limit = recovery.RESTART + sum(row.lingers for row in rows)
        self.staying, self.leaving, self.coming = (self.onu(index) for index in ("0/0", "0/1", "1/1"))
        self.staying_mac, self.leaving_mac = (control("onu", onu, "get")["mac"]
                                              for onu in (self.staying, self.leaving))
        self.resets = control("card", str(number), "get")["resets"]
        self.faults = []

    def onu(self, index):
        return f"{self.number}/{index}"

    def begin(self, duration):
        """The faults, and what is to happen while they last."""
        for kind in self.kinds:
            added = control("fault", "add", kind, "--card", str(self.number), "--for", f"{duration}s",
                            *KINDS[kind].options)
            self.faults.append(added["fault"])
        self.command(VLAN_DURING)
        control("onu", self.leaving, "unplug")
        control("onu", self.coming, "plug")

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

    def has_kept_its_command(self):
        """Also when the card can't tell: it was reset since, only pretended, or took altered bits."""
        return (control("onu", self.staying, "get")["vlan"] == VLAN_DURING or
                self.wrong == ANYTHING or "pretend" in self.kinds or
                control("card", str(self.number), "get")["resets"] > self.resets)

    def commands_seen(self):
        """The VLANs that the card was told for the ONU, in order, each once."""
        told = [int(entry["hex"][-4:], 16) for entry in journal(self.number, "ONU port VLAN", "in")]
        return list(dict.fromkeys(told))


def simulator_clock():
    """The time of the newest datagram of all; everything that happens now is later."""
    return seconds(control("journal", "--last", "1")["entries"][-1])


class Round:
    """Plays faults on slots of a chassis that is in service; `kinds` by slot, several at once each."""

    def __init__(self, daemon, kinds, clean):
        self.daemon = daemon
        self.slots = [Slot(slot, names) for slot, names in kinds.items()]
        self.clean = clean
        self.began = simulator_clock()

    def prepare(self):
        """The ONUs that are to come are not there yet."""
        for slot in self.slots:
            control("onu", slot.coming, "unplug")
        wait_for(lambda: inventory() == truth(), 30, "the ONUs that were unplugged are off-line", 0.3)

    def play(self, duration):
        """All faults for so many seconds, with all that is to happen meanwhile."""
        lines = len(self.daemon.texts())
        for slot in self.slots:
            slot.begin(duration)
        self.change_behind_the_clean_card()
        wait_for(lambda: all(fault["state"] == "ended" for fault in control("fault", "list")["faults"]),
                 duration + 60, "all faults have ended", 0.3)
        self.ended_at = simulator_clock()
        hits = {fault["fault"]: fault["hits"] for fault in control("fault", "list")["faults"]}
        for slot in self.slots:
            assert any(hits[fault] for fault in slot.faults), f"{slot.kinds} have hit nothing"
        self.lines_before = lines

    def change_behind_the_clean_card(self):
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
        """Waits for these slots, each at most as long as its limit from `since`, on the simulator's
        clock; gives the seconds that each has taken, without those that took longer."""
        took, missing, longest = {}, list(slots), max(limits.values())

        def look():
            there, true = inventory(), truth()
            rows = {row["slot"]: row for row in control("list")["cards"]}
            for slot in list(missing):
                if (slot.is_right(there, true, whole) and slot.is_served(rows[slot.number], whole) and
                        slot.is_refreshed(since)):
                    took[slot] = simulator_clock() - since
                    missing.remove(slot)
            return not missing or simulator_clock() - since > longest

        wait_for(look, 2 * longest, "the cards are asked at all", 1.0)
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
        took = self.wait_until_right(self.slots, limits, self.ended_at, False)
        assert len(took) == len(self.slots), self.picture(took)
        self.check_commands()
        repaired = self.repair(self.slots)
        # a machine that stands still for seconds has the daemon ask twice and misread the answers
        repaired |= self.repair([slot for slot in self.slots if slot not in repaired])
        assert len(repaired) == len(self.slots), self.picture(repaired)
        self.check_command_after()
        assert self.daemon.is_running()
        for slot in self.slots:
            print(f"{'+'.join(slot.kinds)}: right after {took[slot]:.1f} s, "
                  f"{slot.repair and slot.repair[0]} after {repaired[slot]:.1f} s")

    def repair(self, slots):
        """Gives the seconds that each slot has taken that was right in time."""
        if not slots:
            return {}
        since = simulator_clock()
        for slot in slots:
            if slot.repair:
                ask("dbman", "slot", slot.repair[0], str(slot.number))
        limits = {slot: slot.repair[1] if slot.repair else slot.limit for slot in slots}
        return self.wait_until_right(slots, limits, since, True)

    def check_command_after(self):
        for slot in self.slots:
            slot.command(VLAN_AFTER)
        for slot in self.slots:
            wait_for(lambda: control("onu", slot.staying, "get")["vlan"] == VLAN_AFTER, 30,
                     f"slot {slot.number} carries out commands behind {slot.kinds}", 0.3)
            assert slot.commands_seen() == [VLAN_DURING, VLAN_AFTER]

    def check_commands(self):
        """What was commanded during a fault was done, or the daemon has printed why it wasn't."""
        for slot in self.slots:
            told = slot.commands_seen()
            assert told == [VLAN_DURING], f"slot {slot.number} was told {told}"
        undone = [slot.kinds for slot in self.slots if not slot.has_kept_its_command()]
        printed = [line for line in self.daemon.texts()[self.lines_before:]
                   if any(reason in line for reason in COMMAND_FAILED)]
        assert len(undone) <= len(printed), f"commands vanished: {undone}; lines: {printed}"

    def check_the_clean_card(self):
        """Its questions came in their period, from the beginning to now."""
        asked = journal(self.clean, "Get OAM Extension Set Support", "in")
        times = [self.began, *(seconds(entry) for entry in asked if seconds(entry) > self.began),
                 simulator_clock()]
        longest = max(later - earlier for earlier, later in zip(times, times[1:]))
        assert len(times) > 2 and longest <= recovery.RECHECK, f"asked only after {longest:.1f} s"
        assert of_slot(inventory(), self.clean) == of_slot(truth(), self.clean)
