"""The whole product: a simulated chassis, the database manager and the daemon, and what each says is
there."""

import json
import os
import subprocess
from collections import namedtuple
from pathlib import Path

import pytest

from .simulator import request
from .waiting import wait_for

ROOT = Path(__file__).resolve().parents[3]
BUILD = Path(os.environ.get("PONMGR_BUILD", ROOT / "build" / os.environ.get("PONMGR_PRESET", "release")))
SCENARIOS = ROOT / "sim" / "scenarios"


def program(name):
    """The tools around the daemon are taken from another preset where this one doesn't build them:
    as released, or under a sanitizer."""
    folders = [BUILD] if name == "ponmgrd" else [BUILD, ROOT / "build/release", ROOT / "build/asan"]
    built = [folder / "bin" / name for folder in folders]
    return next((path for path in built if path.exists()), built[0])


def ask(name, *words):
    done = subprocess.run([program(name), *map(str, words), "--json"], capture_output=True, text=True)
    assert done.returncode == 0, (f"{name} {' '.join(map(str, words))} ended with {done.returncode}; it printed:\n"
                                  f"{done.stdout}{done.stderr}")
    return json.loads(done.stdout)


def control(*words):
    return ask("chassis-sim", "ctl", *words)


def wait_in_service(limit="50s"):
    control("wait", "in-service", "--timeout", limit)


def inventory(ask=ask):
    """On-line cards and ONUs as the database manager shows them; `ask` asks it."""
    cards = {(card["slot_id"], card["mac_address"]) for card in ask("dbman", "card", "list")["cards"]
             if card["state"] == "on-line"}
    onus = {(onu["slot_id"], onu["pon_port"], onu["mac_address"])
            for onu in ask("dbman", "onu", "list")["onus"] if onu["state"] == "on-line"}
    return cards, onus


def truth():
    """The same as it is in the chassis."""
    told = request(verb="truth")
    cards = {(str(card["slot"]), card["mac"]) for card in told["cards"] if card["online"]}
    onus = {(str(onu["slot"]), str(onu["port"]), onu["mac"])
            for onu in told["onus"] if onu["online"]}
    return cards, onus


def of_slots(told, slots):
    """What of an inventory or of the truth concerns these slots; None stands for all."""
    return tuple({row for row in rows if slots is None or row[0] in slots} for rows in told)


def agree(slots=None):
    return of_slots(inventory(), slots) == of_slots(truth(), slots)


def wait_for_agreement(limit=30.0, slots=None):
    wait_for(lambda: agree(slots), limit,
             lambda: f"the inventory {inventory()} is the truth {truth()}")


Started = namedtuple("Started", ["simulator", "manager", "daemon"])


@pytest.fixture
def chassis(processes, monkeypatch):
    """Starts a chassis, the database manager and the daemon, and waits until they agree; gives the three
    processes."""
    monkeypatch.setenv("XDG_STATE_HOME", "/tmp/state")

    def start(slots, *options, agree=True, manager=(), before=()):
        """`options` are the simulator's, `manager` are dbman's; `before` are the words of a program that
        starts the daemon."""
        simulator = processes("chassis-sim", "--slots", slots, "--seed", "1", *options)
        simulator.wait_for_line("chassis-sim ready")
        database = processes("dbman", "serve", "--slots", slots, *manager)
        database.wait_for_line("dbman ready")
        daemon = processes(*before, program("ponmgrd"))
        if agree:
            wait_in_service()
            wait_for_agreement()
        return Started(simulator, database, daemon)

    return start
