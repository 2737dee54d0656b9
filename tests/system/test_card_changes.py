"""A card is reset, pulled or swapped for another, so fast that no ping is lost, while the daemon is in
the middle of something with it: the inventory is right afterwards."""

import pytest

from support import recovery
from support.product import ask, control, truth
from support.waiting import wait_for
from support.wire_faults import answered_twice, inventory, journal, of_slot, seconds, simulator_clock

OPTIONS = ("--onus", "2", "--configured", "--reset-time", f"{recovery.RESET}s", "--onu-reset-time", "1s",
           "--journal", "200000")

# What the daemon is waiting for when it happens, and the command to dbman that leads there.
PHASES = {
    "identification": ("Get OLT Information", "announce"),
    "NVS": ("Get OLT NVS Enabled", "announce"),
    "configuration": ("Set OLT Bridging Configuration", "reset"),
    "polling": ("Get List of Discovered Links", "announce"),
}
ACTIONS = {
    "swap": [("swap",)],
    "reset": [("reset",)],
    "insert": [("pull",), ("insert",)],
    "factory": [("pull",), ("insert", "--factory")],
}
# The longest: another card starts, and again when its NVS is off.
LIMIT = max(recovery.CARD, recovery.RESTART)


def other_mac(slot, swaps=1):
    return f"00:0d:b6:00:{swaps:02x}:{slot:02x}"


def in_service(slot):
    row = next(row for row in control("list")["cards"] if row["slot"] == slot)
    return row["state"] == "in-service" and row["onus_provisioned"] >= row["onus_discovered"]


def is_right(slot):
    return of_slot(inventory(), slot) == of_slot(truth(), slot) and in_service(slot)


def hits(fault):
    return next(row["hits"] for row in control("fault", "list")["faults"] if row["fault"] == fault)


def alarms_of(mac):
    return {alarm["state"] for alarm in ask("dbman", "alarm", "list")["alarms"]
            if alarm["resource"] == f"ONU Link: {mac}"}


def catch(slot, phase):
    """Has the daemon wait for the card in this phase: its answer takes long, and comes a second before it
    would be asked for again at the earliest."""
    request, command = PHASES[phase]
    fault = control("fault", "add", "delay", "--card", str(slot), "--request", request, "--time", "3s",
                    "--count", "1")["fault"]
    ask("dbman", "slot", command, str(slot))
    wait_for(lambda: hits(fault), 60, f"slot {slot} is in {phase}", 0.05)


def announce_those_that_were_misled(slots, since):
    """A machine that stands still for seconds has the daemon ask again though the answer is there; it then
    takes both for what it asks next. Prints which."""
    for slot in slots:
        doubled = answered_twice(slot, since)
        assert doubled, f"slot {slot} isn't right after {LIMIT} s, and no answer came twice"
        print(f"slot {slot} is announced once more, as its card answered twice: {doubled}")
        ask("dbman", "slot", "announce", str(slot))


@pytest.mark.parametrize("actions", [
    ("swap", "reset"), pytest.param(("insert", "factory"), marks=pytest.mark.long)])
def test_a_card_that_changes_in_the_middle_of_anything_is_right_afterwards(chassis, actions):
    _, _, daemon = chassis("1-8", *OPTIONS)
    cases = list(enumerate([(phase, action) for phase in PHASES for action in actions], 1))
    since = simulator_clock()
    for slot, (phase, action) in cases:
        catch(slot, phase)
        for words in ACTIONS[action]:
            control("card", str(slot), *words)
        control("onu", f"{slot}/0/1", "unplug")
    changed = simulator_clock()
    missing = {slot for slot, _ in cases}

    def look():
        there, true = inventory(), truth()
        rows = {row["slot"]: row for row in control("list")["cards"]}
        for slot in list(missing):
            events = [seconds(entry) for entry in journal(slot, "OLT Ready", "out") if
                      seconds(entry) > since]
            asked = [seconds(entry) for entry in journal(slot, "Get List of Discovered Links", "out")]
            if (of_slot(there, slot) == of_slot(true, slot) and rows[slot]["state"] == "in-service" and
                    rows[slot]["onus_discovered"] == rows[slot]["onus_provisioned"] == 3 and
                    events and asked and asked[-1] > events[-1]):
                missing.discard(slot)
        return not missing

    def pictures():
        return [(slot, case, of_slot(inventory(), slot), of_slot(truth(), slot))
                for slot, case in cases if slot in missing]

    wait_for(lambda: look() or simulator_clock() - changed > LIMIT, 3 * LIMIT, pictures, 0.5)
    announce_those_that_were_misled(missing, changed)
    wait_for(look, recovery.ANNOUNCEMENT, pictures, 0.5)
    print(f"all right {simulator_clock() - changed:.1f} s after the last change")
    cards = inventory()[0]
    for slot, (_, action) in cases:
        swaps = 1 if action == "swap" else 0
        assert (str(slot), other_mac(slot, swaps)) in cards
        assert len(of_slot(inventory(), slot)[1]) == 3
    assert daemon.is_running()


def test_what_the_wire_keeps_from_the_daemon_stays_wrong_until_the_slot_is_announced(chassis):
    """Differences that are meant to be: nothing tells the daemon of what it can't hear, and its list of
    the ONUs knows no reports."""
    chassis("1-4", *OPTIONS)
    gone, listed = (control("onu", f"{slot}/0/1", "get")["mac"] for slot in (1, 4))
    for slot, event in ((1, "Report Alarm"), (2, "OLT Ready"), (3, "OLT Ready")):
        control("fault", "add", "drop", "--card", str(slot), "--request", event)
    control("onu", "1/0/1", "unplug")
    control("card", "2", "swap")
    control("card", "3", "reset")
    control("onu", "3/0/1", "unplug")
    # the ONU of slot 4 leaves while the daemon waits for the list, so that the list tells of it first
    began = simulator_clock()
    held = control("fault", "add", "delay", "--card", "4", "--request",
                   "Get List of All Known Logical Links", "--time", "3s", "--count", "1")["fault"]
    wait_for(lambda: hits(held), 2 * recovery.RECHECK, "the ONUs of slot 4 are asked for")
    control("onu", "4/0/1", "unplug")

    def refreshed(slot):
        return any(seconds(entry) > began for entry in
                   journal(slot, "Get List of Discovered Links", "out"))

    wait_for(lambda: all(map(refreshed, (1, 2, 3, 4))) and in_service(3), 2 * recovery.RESTART,
             "the cards were asked for their links", 0.5)
    control("fault", "remove", "all")
    there, true = inventory(), truth()
    # the ONU that left without a word is shown on-line, and on the card it is cleared
    assert of_slot(there, 1)[1] - of_slot(true, 1)[1] == {("1", "0", gone)}
    assert not control("onu", "1/0/1", "get")["known"]
    # the swapped card is known by the old one's MAC, and isn't configured
    assert of_slot(there, 2)[0] == {("2", other_mac(2, 0))} != of_slot(true, 2)[0]
    assert not in_service(2)
    # the card that was reset is configured, its ONUs are served; the one that left is shown
    wait_for(lambda: of_slot(truth(), 3)[1] < of_slot(inventory(), 3)[1], recovery.RESTART,
             "slot 3 shows one ONU too many", 0.5)
    # the alarm of the ONU that the list took away finds nobody
    wait_for(lambda: alarms_of(listed) == {"raised"}, recovery.RESTART, "its alarm is raised", 0.5)
    assert of_slot(inventory(), 4)[1] - of_slot(truth(), 4)[1] == {("4", "0", listed)}
    ask("dbman", "slot", "announce", "all")
    for slot, limit in ((1, recovery.ANNOUNCEMENT), (3, recovery.ANNOUNCEMENT),
                        (4, recovery.ANNOUNCEMENT), (2, recovery.CARD)):
        wait_for(lambda: is_right(slot), limit, f"slot {slot} is right", 0.5)


def longest_gap(times):
    return max(later - earlier for earlier, later in zip(times, times[1:]))


def configurations(slot, since):
    """When each began, by the first request of a configuration that nothing else sends."""
    return [seconds(entry) for entry in journal(slot, "Set OAM Extension Set Support", "in")
            if seconds(entry) > since]


def test_a_card_that_keeps_nothing_is_configured_once_a_pass_and_disturbs_nobody(chassis):
    _, _, daemon = chassis("1,2", *OPTIONS)
    began = simulator_clock()
    fault = control("fault", "add", "pretend", "--card", "1")["fault"]
    control("card", "1", "pull")
    control("card", "1", "insert", "--factory")
    wait_for(lambda: len(configurations(1, began)) >= 4, 60, "the card is configured in vain", 0.5)
    # each of them ends a pass: a second's pause lies behind it
    ends = [seconds(entry) for entry in journal(1, "Enable OLT", "in") if seconds(entry) > began]
    asked = [seconds(entry) for entry in journal(1, "Get OAM Extension Set Support", "in")]
    for end in ends[:-1]:
        assert min(time for time in asked if time > end) - end >= 0.9
    card = control("card", "1", "get")
    assert (card["marker"], card["nvs"], card["paths"]) == (False, True, [])
    control("onu", "2/0/0", "unplug")
    wait_for(lambda: is_right(2), 30, "the other slot goes on", 0.2)
    assert longest_gap(configurations(1, began)) <= recovery.TRY + 2 * recovery.PASS
    polls = [began, *(seconds(entry) for entry in journal(2, "Get OAM Extension Set Support", "in")
                      if seconds(entry) > began), simulator_clock()]
    assert longest_gap(polls) <= recovery.RECHECK
    # the next configuration is kept, but the NVS was asked before: the announcement has it asked again
    control("fault", "remove", str(fault))
    wait_for(lambda: control("card", "1", "get")["marker"], recovery.TRY + 3 * recovery.PASS,
             "the card is configured", 0.2)
    assert control("card", "1", "get")["nvs"]
    ask("dbman", "slot", "announce", "1")
    wait_for(lambda: is_right(1), recovery.CARD, "the card is in service", 0.5)
    assert daemon.is_running()


@pytest.mark.parametrize("kind, options", [
    ("garbage", ("--size", "7", "--rate", "10")),
    pytest.param("truncate", ("--bytes", "3"), marks=pytest.mark.long)])
def test_datagrams_shorter_than_a_header_cost_every_slot_a_second_and_no_more(chassis, kind, options):
    """Part of the daemon's ways: they have its socket built anew, and what all cards send meanwhile is
    lost; so an ONU that left meanwhile may stay, in any slot."""
    _, _, daemon = chassis("1,2", *OPTIONS)
    for slot in (1, 2):
        control("onu", f"{slot}/1/1", "unplug")
    wait_for(lambda: inventory() == truth(), 30, "two ONUs are off-line", 0.3)
    control("fault", "add", kind, "--card", "1", "--for", "6s", *options)
    # answered by a header alone, which truncate cuts
    ask("dbman", "onu", "vlan", control("onu", "1/0/0", "get")["mac"], "101", "--slot", "1")
    daemon.wait_for_line("]: Impossible to create TKMessage with small size")
    for slot in (1, 2):
        control("onu", f"{slot}/0/1", "unplug")
        control("onu", f"{slot}/1/1", "plug")
    wait_for(lambda: all(row["state"] == "ended" for row in control("fault", "list")["faults"]), 60,
             "the fault is over", 0.2)
    gone = {control("onu", f"{slot}/0/1", "get")["mac"] for slot in (1, 2)}

    def nearly_right():
        (cards, onus), (true_cards, true_onus) = inventory(), truth()
        return (cards == true_cards and onus >= true_onus and
                {mac for _, _, mac in onus - true_onus} <= gone and in_service(1) and in_service(2))

    wait_for(nearly_right, recovery.SHORT_DATAGRAM, lambda: f"{inventory()} of {truth()}", 0.5)
    ask("dbman", "slot", "announce", "all")
    wait_for(lambda: inventory() == truth(), recovery.ANNOUNCEMENT, "all is right", 0.5)
    assert daemon.is_running()
