"""What happens to the chassis and to the product: each trouble begins, lasts, and is undone.

A trouble's function takes the stage and returns what undoes it, or None. It takes its slots, ONUs and
programs from the stage, which knows what is in trouble already.
"""

import math
import re
import signal
import subprocess
from collections import namedtuple

import faults
from plant import ask, give_longest_answers
from settings import MANY_ONUS

from support import recovery

# How long it lasts, and how long after its end everything is right again at the latest; 0 when it changes
# nothing that is shown.
Trouble = namedtuple("Trouble", ["name", "group", "weight", "seconds", "recovery", "begin"])

SLOTS = range(1, 9)
SHORT, MEDIUM, LONG = (0.5, 3), (2, 15), (20, 32)  # seconds; the last is longer than the daemon's ping takes
# The daemon learns of a move by one event alone; it can be lost while there are faults.
UNTIL_CALM = (math.inf, math.inf)


def control(*words):
    return ask("chassis-sim", "ctl", *words)


def network(action, slot):
    """Takes a card's address off the network, or puts it back."""
    subprocess.run(["ip", "route", action, "unreachable", f"127.0.1.{slot}/32", "table", "local"],
                   check=True)


# Cards and fibres.


def _pull(stage):
    slot = stage.take_slot()
    control("card", slot, "pull")
    words = stage.chance.choice([[], ["--factory"]])
    return lambda: control("card", slot, "insert", *words)


def _pull_unseen(stage):
    """As in a real chassis: what is pulled answers no ping."""
    slot = stage.take_slot()
    control("card", slot, "pull")
    network("add", slot)

    def undo():
        network("del", slot)
        control("card", slot, "insert")
    return undo


def _swap(stage):
    slot = stage.take_slot()
    control("card", slot, "pull")
    network("add", slot)

    def undo():
        network("del", slot)
        control("card", slot, "swap")
        stage.swapped.add(slot)
    return undo


def _reset(stage):
    control("card", stage.take_slot(), "reset")


def _cut(stage):
    slot, port = stage.take_slot(), stage.chance.choice([0, 1])
    control("card", slot, "cut", port)
    return lambda: control("card", slot, "restore", port)


# ONUs.


def _there_and_back(first, second):
    def begin(stage):
        name, _ = stage.take_onu()
        control("onu", name, first)
        return lambda: control("onu", name, second)
    return begin


def _move_port(stage):
    name, _ = stage.take_onu()
    port = int(name.split("/")[1])
    control("onu", name, "move", 1 - port)
    return lambda: control("onu", name, "move", port)


def _move_card(stage):
    name, _ = stage.take_onu()
    slot, port, _ = name.split("/")
    other = stage.chance.choice([n for n in SLOTS if n != int(slot)])
    stage.touch(other)
    control("onu", name, "move", f"{other}/{port}")
    return lambda: control("onu", name, "move", f"{slot}/{port}")


def _fade(stage):
    name, _ = stage.take_onu()
    control("onu", name, "fade", f"{stage.chance.uniform(0.5, 12):.1f}")
    return lambda: control("onu", name, "fade", 0)


def _alarm(stage):
    target = f"{stage.chance.choice(SLOTS)}/{stage.chance.choice(['0', '1', 'nni-0', 'nni-1'])}"
    alarm = stage.chance.choice(["Loss of Signal", "Temperature"])
    control("alarm", target, alarm, "raise")
    return lambda: control("alarm", target, alarm, "clear")


# Commands to the daemon, as an operator gives them.


TEMPLATE = re.compile("MAC|SLOT|VLAN|PORT")


def _command(*words):
    """Words in capitals are filled in."""
    def begin(stage):
        name, mac = stage.any_onu()
        if "all" in words:
            stage.touch(*SLOTS)
        values = {"MAC": mac, "SLOT": name.split("/")[0], "VLAN": stage.chance.randint(1, 4095),
                  "PORT": "/".join(name.split("/")[:2])}
        stage.command(*[TEMPLATE.sub(lambda found: str(values[found[0]]), word) for word in words])
    return begin


def _disable(stage):
    slot = stage.take_slot()
    stage.command("slot", "disable", slot)
    return lambda: stage.command("slot", "enable", slot)


def _clear_address(stage):
    slot = stage.take_slot()
    stage.command("slot", "clear", slot)
    return lambda: stage.command("slot", "set", slot, "--ip", f"127.0.1.{slot}", "--source", "127.0.0.1")


# The product's periods, and what many ONUs take longer.
SEEN, ASKED_ANEW = recovery.EVENT + MANY_ONUS, recovery.ANNOUNCEMENT + MANY_ONUS
WIRE, RESTART, CARD = (limit + MANY_ONUS for limit in (recovery.WIRE, recovery.RESTART, recovery.CARD))

# What a command can change for a while, and within which time.
COMMANDS = [
    (ASKED_ANEW, "slot", "announce", "SLOT"), (ASKED_ANEW, "slot", "announce", "all"),
    (RESTART, "slot", "enable", "SLOT"), (RESTART, "slot", "reset", "SLOT"), (WIRE, "onu", "reset", "MAC"),
    (WIRE, "onu", "remove", "MAC", "--slot", "SLOT"), (0, "onu", "vlan", "MAC", "VLAN"),
    (0, "port", "vlan", "PORT", "VLAN"), (0, "port", "vlan", "PORT", "VLAN", "--discard-untagged"),
    (0, "port", "vlan", "PORT", "--remove"), (0, "send", "/slot/no/such/command", "slot_id=SLOT"),
    (0, "send", "/slot/enable", "slot_id=9"), (0, "card", "list"), (0, "onu", "list", "--offline"),
    (0, "alarm", "list", "--active"), (0, "alarm", "history", "--since", "1h"), (0, "optics", "MAC"),
    (0, "events", "--limit", "50"),
]


# The programs themselves.


def _halt(name):
    def begin(stage):
        stage.take_programs()
        stage.plant.signal(name, signal.SIGSTOP)
        return lambda: stage.plant.signal(name, signal.SIGCONT)
    return begin


def _kill_manager(stage):
    stage.take_programs()
    stage.plant.kill("dbman")

    def undo():
        # what is refused behind it has all of this done once more
        if "dbman" in stage.plant.killed:
            stage.plant.start("dbman")
        ask("dbman", "slot", "announce", "all")
        give_longest_answers()
    return undo


def _kill_daemon(stage):
    stage.take_programs()
    stage.plant.kill("ponmgrd")
    return lambda: stage.plant.start("ponmgrd")


def _fault(kind):
    def begin(stage):
        slot, seconds = stage.any_slot(), stage.chance.uniform(2, 20)
        stage.last(seconds)
        faults.add(kind, slot, stage.chance, seconds)
        stage.faults_at[slot].add(kind)
    return begin


CHASSIS = [
    Trouble("card pulled", "chassis", 2, MEDIUM, CARD, _pull),
    Trouble("card pulled, no ping", "chassis", 2, LONG, CARD, _pull_unseen),
    Trouble("card swapped", "chassis", 2, LONG, CARD, _swap),
    Trouble("card reset", "chassis", 2, None, RESTART, _reset),
    Trouble("fibre cut", "chassis", 3, MEDIUM, SEEN, _cut),
    Trouble("ONU unplugged", "chassis", 4, MEDIUM, SEEN, _there_and_back("unplug", "plug")),
    Trouble("ONU without power", "chassis", 4, MEDIUM, SEEN, _there_and_back("power-off", "power-on")),
    Trouble("ONU at the other port", "chassis", 4, UNTIL_CALM, SEEN, _move_port),
    Trouble("ONU at another card", "chassis", 4, UNTIL_CALM, SEEN, _move_card),
    Trouble("ONU fades", "chassis", 3, MEDIUM, SEEN, _fade),
    Trouble("alarm", "chassis", 4, MEDIUM, 0, _alarm),
]
ASKED = [Trouble(" ".join(words), "command", 1, None, limit, _command(*words)) for limit, *words in COMMANDS] + [
    Trouble("slot disable SLOT", "command", 1, SHORT, CARD, _disable),
    Trouble("slot clear SLOT", "command", 1, SHORT, CARD, _clear_address),
]
# A wire that is bad for long has the daemon reset the card.
ON_THE_WIRE = [Trouble(kind, "fault", 3, None, RESTART + faults.LINGERING.get(kind, 0), _fault(kind))
               for kind in faults.KINDS]
HALTS = [Trouble("dbman halted", "program", 2, MEDIUM, WIRE, _halt("dbman")),
         Trouble("ponmgrd halted", "program", 2, MEDIUM, WIRE, _halt("ponmgrd"))]
KILLS = [Trouble("dbman killed", "program", 2, SHORT, CARD, _kill_manager),
         Trouble("ponmgrd killed", "program", 2, SHORT, CARD, _kill_daemon)]
