"""The daemon and the database manager while cards and ONUs come and go: what the simulator says is
true ends up in the inventory."""

import math
import re
import subprocess
from pathlib import Path

import pytest

from support.product import (SCENARIOS, ask, control, inventory, program, truth, wait_for_agreement,
                             wait_in_service)
from support.waiting import wait_for


def network(action, slot):
    """Takes the card's address off the network, or puts it back: ping can't find it meanwhile."""
    subprocess.run(["ip", "route", action, "unreachable", f"127.0.1.{slot}/32", "table", "local"],
                   check=True)


def test_a_fibre_cut_takes_its_onus_offline_and_its_repair_brings_them_back(chassis):
    simulator, _, _ = chassis("3", "--onus", "4", "--reset-time", "1s", "--scenario",
                        str(SCENARIOS / "fibre-cut.jsonl"), "--scenario-speed", "3", agree=False)
    simulator.wait_for_line("card 3 cut 1: slot 3 port 1: fibre cut")
    wait_for(lambda: {onu["pon_port"] for onu in ask("dbman", "onu", "list")["onus"]
                      if onu["state"] == "off-line"} == {"1"})
    assert len(truth()[1]) == 4
    simulator.wait_for_line("fibre-cut.jsonl ended: 8 steps, 0 failed")
    wait_for_agreement()
    assert len(inventory()[1]) == 8
    assert control("scenario", "status")["state"] == "ended"


def test_a_pulled_card_goes_offline_and_comes_back(chassis):
    chassis("1", "--onus", "2", "--configured", "--reset-time", "1s")
    control("card", "1", "pull")
    network("add", 1)
    wait_for(lambda: inventory()[0] == set(), 45)
    assert truth() == (set(), set())
    network("del", 1)
    control("card", "1", "insert")
    wait_in_service()
    wait_for_agreement()
    assert len(inventory()[1]) == 4


def test_a_swapped_card_is_configured_anew(chassis):
    chassis("1", "--onus", "2", "--configured", "--reset-time", "1s")
    before, = inventory()[0]
    control("card", "1", "pull")
    network("add", 1)
    wait_for(lambda: inventory()[0] == set(), 45)
    network("del", 1)
    control("card", "1", "swap")
    wait_in_service()
    wait_for_agreement()
    assert inventory()[0] == {("1", "00:0d:b6:00:01:01")} != {before}
    card = control("card", "1", "get")
    assert card["settings"]["sync_time"] == [{"port": 0, "data": "0010"}, {"port": 1, "data": "0010"}]


def test_an_onu_plugged_in_at_another_card_is_found_there(chassis):
    chassis("1,2", "--onus", "2", "--configured", "--onu-reset-time", "2s")
    control("onu", "1/0/1", "move", "2/1")
    wait_for_agreement()
    wait_in_service()
    assert ("2", "1", "00:0d:b6:01:00:01") in inventory()[1]
    # the old card forgets it once the daemon has found it gone
    wait_for(lambda: control("card", "1", "get")["departed_links"] == [])


def known(mac):
    """The ONU as the database manager shows it."""
    return next((onu for onu in ask("dbman", "onu", "list")["onus"] if onu["mac_address"] == mac), None)


def decibels(power):
    """A level in dBm, of the wire's 0.1 uW."""
    return 10 * math.log10(power / 10_000)


def test_an_onu_that_fades_is_seen_with_the_weaker_level(chassis):
    fading = Path("/tmp/fading.jsonl")
    fading.write_text('{"at": 0, "ctl": "onu 3/0/0 fade 10"}\n')
    chassis("3", "--onus", "1", "--configured", "--optics-interval", "0", "--scenario", str(fading))

    def level():
        text = known("00:0d:b6:03:00:00")["tx_power_input"]
        return float(text) if re.fullmatch(r"-?[0-9.]+", text) else None

    wait_for(lambda: level() is not None, 60)
    control("onu", "3/0/0", "fade", "0")
    whole = decibels(control("onu", "3/0/0", "get")["optics"]["power_in"])
    assert abs(level() - (whole - 10)) < 0.2, (level(), whole)


def test_a_card_of_another_product_is_shown_without_a_mac_and_without_onus(chassis):
    chassis("1", "--onus", "2", "--configured", "--reset-time", "1s")
    control("card", "1", "swap", "--product-code", "3724")
    wait_for(lambda: ask("dbman", "card", "list")["cards"][0]["mac_address"] == "", 60)
    card, = control("truth")["cards"]
    assert (card["mac"], card["managed"]) == ("00:0d:b6:00:01:01", False)
    # asked who it is once and again, and told to do nothing
    told = "000db60001010053000db63724"
    wait_for(lambda: sum(entry["direction"] == "out" and entry["id"] == 7 and told in entry["hex"]
                         for entry in control("journal", "--last", "10000")["entries"]) >= 3, 60)
    assert control("card", "1", "get")["state"] == "factory"


def test_an_onu_that_moves_to_the_other_port_of_its_card_is_shown_there(chassis):
    chassis("3", "--onus", "2", "--configured")
    assert known("00:0d:b6:03:00:01")["pon_port"] == "0"
    control("onu", "3/0/1", "move", "1")
    wait_for_agreement(60)
    assert ("3", "1", "00:0d:b6:03:00:01") in inventory()[1]
    events = ask("dbman", "alarm", "history")["events"]
    assert [event["alarm"] for event in events] == ["ONU Link Moved Between PON Ports"]


def test_an_onu_without_power_is_shown_off_line_by_its_dying_gasp(chassis):
    chassis("3", "--onus", "2", "--configured")
    control("onu", "3/1/0", "power-off")
    wait_for(lambda: known("00:0d:b6:03:01:00")["state"] == "off-line", 60)
    assert known("00:0d:b6:03:01:00")["alarm_message"] == "Standard Dying Gasp"
    event, = ask("dbman", "alarm", "history")["events"]
    assert (event["alarm"], event["state"]) == ("Standard Dying Gasp", "raised")
    assert "00:0d:b6:03:01:00" in event["resource"]
    control("onu", "3/1/0", "power-on")
    wait_in_service()
    wait_for_agreement()


def test_a_configured_card_has_all_that_the_daemon_sets(chassis, processes):
    chassis("1,2", "--onus", "1", "--reset-time", "0")
    set_by_daemon = control("card", "1", "get")
    onu_by_daemon = control("onu", "1/0/0", "get")
    processes("chassis-sim", "--slots", "1,2", "--base", "127.0.2.0", "--onus", "1", "--seed", "1", "--configured",
              "--control", "/tmp/other.ctl")
    wait_for(lambda: subprocess.run([program("chassis-sim"), "ctl", "list", "--control",
                                     "/tmp/other.ctl"], capture_output=True).returncode == 0)
    configured = control("card", "1", "get", "--control", "/tmp/other.ctl")
    for part in ("settings", "extension_sets", "domains", "paths", "enabled", "nvs"):
        assert configured[part] == set_by_daemon[part], part
    configured = control("onu", "1/0/0", "get", "--control", "/tmp/other.ctl")
    assert configured["settings"] == onu_by_daemon["settings"]


def test_a_mistake_in_a_scenario_is_reported_at_the_start():
    path = Path("/tmp/day.jsonl")
    path.write_text('{"at": "1s", "ctl": "card 3 fly"}\n')
    done = subprocess.run([program("chassis-sim"), "--scenario", path], capture_output=True, text=True)
    assert done.returncode == 2
    assert "day.jsonl:1: unknown action 'fly'; there are: get, reset, pull" in done.stderr


@pytest.mark.parametrize("failing, status", [(False, 0), (True, 1)])
def test_the_simulator_ends_with_its_scenario_on_request(failing, status):
    path = Path("/tmp/day.jsonl")
    path.write_text('{"at": "10ms", "ctl": "card 3 %s"}\n' % ("insert" if failing else "pull"))
    done = subprocess.run([program("chassis-sim"), "--scenario", path, "--scenario-exit"],
                          capture_output=True, text=True, timeout=20)
    assert done.returncode == status, done.stdout + done.stderr


@pytest.mark.parametrize("name", ["quiet-day", "bad-day", "fibre-cut"])
def test_shipped_scenarios_have_no_mistake(name, processes):
    scenario = str(SCENARIOS / f"{name}.jsonl")
    simulator = processes("chassis-sim", "--onus", "4", "--scenario", scenario)
    simulator.wait_for_line("chassis-sim ready")
    assert control("scenario", "status")["scenario"] == f"{name}.jsonl"
