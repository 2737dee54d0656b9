"""The daemon and the database manager are killed; the other one goes on, no ONU in service is disturbed,
and the inventory is right again."""

import os
import signal

from support.process import Process
from support.product import (ask, control, inventory, program, wait_for_agreement,
                             wait_in_service)
from support.waiting import wait_for

SLOTS = ("1", "2")


def kill(process):
    os.kill(process.pid, signal.SIGKILL)
    process.wait_for_end()


def cards_settings():
    """All that a configuration would set anew, and the resets that it would take."""
    cards = [control("card", slot, "get") for slot in SLOTS]
    return [(card["settings"], card["paths"], card["resets"]) for card in cards]


def onus():
    return [(onu["onu"], onu["state"], onu["provisioned"]) for onu in control("onu", "list")["onus"]]


def test_a_killed_database_manager_keeps_its_inventory_and_learns_what_it_has_missed(chassis):
    _, manager, daemon = chassis("1,2", "--onus", "4", "--configured")
    control("fault", "add", "event-burst", "--card", "1", "--rate", "200", "--count", "300")
    kill(manager)
    control("onu", "2/0/1", "unplug")
    wait_for(lambda: not control("onu", "2/0/1", "get")["known"], 30)  # told to nobody
    again = Process("dbman", [program("dbman"), "serve"])
    again.wait_for_line("dbman ready")
    assert len(inventory()[0]) == 2 and len(inventory()[1]) == 16, "what was known before is there"
    assert daemon.is_running()
    ask("dbman", "slot", "announce", "all")
    wait_for_agreement()
    assert len(inventory()[1]) == 15
    control("onu", "2/0/1", "plug")
    wait_for_agreement()


def test_a_killed_daemon_configures_nothing_anew_and_disturbs_no_onu(chassis, processes):
    _, _, daemon = chassis("1,2", "--onus", "4", "--reset-time", "1s")
    wait_in_service()
    settings, in_service = cards_settings(), onus()
    kill(daemon)
    assert onus() == in_service
    again = processes("ponmgrd")
    wait_for(lambda: inventory()[0] == set(), 20)
    wait_for_agreement(60)
    assert onus() == in_service
    assert cards_settings() == settings
    assert again.is_running()
