"""The daemon is killed at random moments: while it brings a card up, provisions ONUs, or just polls.

Whatever the moment, the next daemon leaves a configured card and its ONUs as they are: it provisions the ONUs
anew, takes away what is left of those that are gone and the paths that nobody uses, and sets nothing else. Of a
card that was left in the midst of its configuration the mark tells: without it the card is configured from the
start, with it it counts as configured. What it lacks then, being enabled at least, it lacks until it is reset.
A card whose storage is on is reset and configured from the start, whatever it holds.

PONMGR_SEED=N plays the same moments once more; each run prints its own.
"""

import os
import random
import time

import pytest

from support.product import ask, control, inventory, wait_for_agreement, wait_in_service
from support.restarted import disturbing, is_unused, settings_asked
from support.simulator import datagrams, journal_since, request
from support.waiting import wait_for

SLOTS = ("1", "2")
HELD = ("--onus", "4", "--reset-time", "1s", "--journal", "200000")
SLOWLY = (*HELD, "--latency", "10ms")

# Some of what a card is sent that is reset and configured from the start.
CONFIGURING = {"Reset OLT", "Disable OLT", "Set OAM Extension Set Support", "Clear All Allowed Links",
               "Set OLT Bridging Configuration", "Set Path", "Set Domain (version 2)", "Set Domain Rules",
               "Enable OLT"}


def datagrams_pass(chance, most):
    """Lets a random number of datagrams pass the cards."""
    wanted = datagrams() + chance.randint(1, most)
    wait_for(lambda: datagrams() >= wanted, 60, lambda: f"{wanted} datagrams pass; now {datagrams()}")


def amid_bring_up(chance):
    """Somewhere between a new card's first word and its last ONU in service."""
    control("card", "2", "pull")
    control("card", "2", "insert", "--factory")
    datagrams_pass(chance, 220)


def amid_provisioning(chance):
    """Somewhere while half of one card's ONUs come back."""
    ours = [f"1/1/{number}" for number in range(4)]
    for name in ours:
        control("onu", name, "power-off")
    wait_for(lambda: not any(control("onu", name, "get")["provisioned"] for name in ours), 60)
    for name in ours:
        control("onu", name, "power-on")
    datagrams_pass(chance, 80)


def amid_polling(chance):
    """Any time in a round of optics and rechecks."""
    time.sleep(chance.uniform(0, 12))


MOMENTS = [amid_bring_up, amid_provisioning, amid_polling]


def place_of(onu):
    """The slot of the card at which the ONU is on-line, or None."""
    return str(onu["slot"]) if onu["state"] == "on-line" else None


class Moment:
    """How the daemon's end has left the cards and ONUs."""

    def __init__(self):
        wait_for(self._nothing_under_way, 20, "answers and events end")
        self.number = datagrams()
        self.cards = {slot: control("card", slot, "get") for slot in SLOTS}
        self.onus = {row["onu"]: control("onu", row["onu"], "get")
                     for row in control("onu", "list")["onus"]}

    @staticmethod
    def _nothing_under_way():
        before = datagrams()
        time.sleep(0.1)
        return datagrams() == before

    def slots(self, state):
        return [slot for slot, card in self.cards.items() if card["state"] == state]

    def untouched(self):
        """Slots whose cards count as configured: nothing may be set there."""
        return self.slots("in-service") + self.left_disabled()

    def left_disabled(self):
        """Slots whose cards have their mark and are not enabled yet."""
        return [slot for slot in self.slots("configured") if not self.cards[slot]["nvs"]]

    def with_storage(self):
        """A new card can have been configured before the daemon took notice that it is new."""
        return [slot for slot in self.slots("factory") + self.slots("configured") if self.cards[slot]["nvs"]]

    def resets_due(self):
        """How often each card has been reset in the end; a card that is just starting isn't judged."""
        due = dict.fromkeys(self.untouched() + self.slots("blank"), 0)
        due |= dict.fromkeys(self.with_storage(), 1)
        return {slot: self.cards[slot]["resets"] + more for slot, more in due.items()}

    def absent_from(self, slot):
        """The MAC addresses of the ONUs that were not on-line at the slot's card."""
        return {onu["mac"] for onu in self.onus.values()
                if place_of(onu) != slot}

    def served_at(self, slot):
        """The ONUs that were on-line at the slot's card then or are now, if it was in service then."""
        if slot not in self.slots("in-service"):
            return []
        return [onu for name, onu in self.onus.items()
                if slot in (place_of(onu), place_of(control("onu", name, "get")))]

    def disturbing(self, slot):
        """What the slot's card was asked to do since and ought not to be asked."""
        entries = journal_since(self.number, int(slot))
        return disturbing(entries, self.served_at(slot), self.absent_from(slot), self.cards[slot]["paths"])


def all_but(slots):
    """Whether every card is in service, but those in these slots, with all their ONUs."""
    rows = [row for row in request(verb="list")["cards"] if str(row["slot"]) not in slots]
    return all(row["state"] == "in-service" and row["onus_provisioned"] == row["onus_total"] for row in rows)


def lost_settings(before, now):
    """What was set and isn't any more, or is otherwise; what was not set yet may be by now."""
    return {name: (value, now[name]) for name, value in before.items() if value and now[name] != value}


def used_paths(card):
    return [path for path in card["paths"] if not is_unused(path)]


def assert_undisturbed(moment):
    for slot in moment.untouched():
        card = control("card", slot, "get")
        for name in ("state", "settings", "domains", "resets"):
            assert card[name] == moment.cards[slot][name], f"{name} of slot {slot}"
        assert used_paths(card) == used_paths(moment.cards[slot]), f"paths of slot {slot}"
        assert moment.disturbing(slot) == [], f"slot {slot}"
    for slot, resets in moment.resets_due().items():
        assert control("card", slot, "get")["resets"] == resets, f"slot {slot}"
    for name, onu in moment.onus.items():
        if onu["state"] == "on-line" and onu["provisioned"] and str(onu["slot"]) in moment.slots("in-service"):
            now = control("onu", name, "get")
            assert now["state"] == "on-line" and now["provisioned"], name
            assert lost_settings(onu["settings"], now["settings"]) == {}, name


def starts_said():
    return ask("dbman", "status")["notifications"].get("/olt/set/all/offline", 0)


def end_and_start_again(daemon, processes, meanwhile=lambda: None):
    """Kills the daemon, has something happen, starts another, and checks what becomes of the cards; gives the new
    daemon."""
    daemon.kill()
    meanwhile()
    moment = Moment()
    print("killed: " + ", ".join(f"slot {slot} {card['state']}" for slot, card in moment.cards.items()))
    starts = starts_said()
    again = processes("ponmgrd")
    minute = time.monotonic() + 60
    wait_for(lambda: starts_said() > starts, 60)
    wait_for(lambda: all_but(moment.left_disabled()), minute - time.monotonic(),
             lambda: f"in service: {control('list')}")
    wait_for_agreement(minute - time.monotonic())
    assert_undisturbed(moment)
    for slot in moment.left_disabled():
        ask("dbman", "slot", "reset", slot)
    wait_in_service("60s")
    wait_for_agreement(60)
    assert again.is_running()
    return again


def chance_of(*what):
    """Random choices of their own for each test, from one seed that is printed."""
    seed = os.environ.get("PONMGR_SEED") or str(random.SystemRandom().randrange(1 << 32))
    print(f"PONMGR_SEED={seed}")
    return random.Random(f"{seed} {what}")


@pytest.mark.parametrize("moment", MOMENTS)
def test_a_daemon_that_ends_at_a_random_moment_leaves_what_works_as_it_is(chassis, processes, moment):
    chance = chance_of(moment.__name__)
    _, _, daemon = chassis("1,2", *SLOWLY, "--configured")
    moment(chance)
    end_and_start_again(daemon, processes)


def test_nothing_is_taken_from_cards_in_service_but_what_is_gone_or_unused(chassis, processes):
    _, _, daemon = chassis("1,2", *HELD, "--configured", "--onu-reset-time", "0")

    def change():
        """An ONU goes to the other card; somebody leaves a path that nobody uses, and one that is in use."""
        control("onu", "1/0/1", "move", "2/1")
        wait_for(lambda: control("onu", "1/0/1", "get")["state"] == "on-line")
        control("card", "1", "leftover-path", 9, 2)
        control("card", "1", "leftover-path", 20, 3)

    since = datagrams()
    end_and_start_again(daemon, processes, change)
    taken = [asked for asked in settings_asked(journal_since(since, 1)) if asked[0].startswith(("Clear", "Delete"))]
    assert set(taken) == {("Clear All Provisioning for Logical Link", "000db6010001"),
                          ("Delete Queue SLA", "00090000"), ("Delete Queue SLA", "000a0000")}
    others = [path["id"] for path in control("card", "1", "get")["paths"] if path["id"] < 0x2000]
    assert others == [20]


def test_a_card_left_between_its_mark_and_its_enabling_waits_for_a_reset(chassis, processes):
    _, _, daemon = chassis("1,2", *HELD, "--latency", "60ms", agree=False)
    wait_for(lambda: request(verb="get", card=2)["marker"], 60)
    daemon.kill()
    moment = Moment()
    left = moment.left_disabled()
    assert "2" in left
    again = processes("ponmgrd")
    wait_for(lambda: {("1", "00:0d:b6:00:00:01"), ("2", "00:0d:b6:00:00:02")} == inventory()[0], 60)
    wait_for(lambda: all_but(left), 60)
    wait_for_agreement(60)
    assert_undisturbed(moment)
    for slot in left:
        ask("dbman", "slot", "reset", slot)
    wait_in_service("60s")
    wait_for_agreement(60)
    assert control("card", "2", "get")["resets"] == moment.cards["2"]["resets"] + 1
    asked = {entry["name"] for entry in journal_since(moment.number, 2)}
    assert CONFIGURING - asked == set()
    assert again.is_running()


@pytest.mark.long
@pytest.mark.timeout(900)
@pytest.mark.parametrize("number", range(10))
def test_a_daemon_that_ends_five_times_leaves_what_works_as_it_is(chassis, processes, number):
    chance = chance_of(number)
    _, _, daemon = chassis("1,2", *SLOWLY, agree=False)
    datagrams_pass(chance, 420)
    daemon = end_and_start_again(daemon, processes)
    for moment in chance.choices(MOMENTS, [2, 1, 1], k=4):
        print(moment.__name__)
        moment(chance)
        daemon = end_and_start_again(daemon, processes)
