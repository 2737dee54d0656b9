"""The daemon with the simulated chassis: whole cards, at the size to build for."""

import pytest

from support.product import control
from support.waiting import wait_for


@pytest.fixture
def chassis(processes, daemon, peer):
    """Starts a chassis and gives the daemon its addresses."""

    def start(*options, slots=range(1, 9)):
        processes("chassis-sim", *options).wait_for_line("chassis-sim ready")
        for slot in slots:
            peer.address(slot)

    return start


def last_reports(peer):
    """The last report of every ONU, by its MAC address."""
    return {message["data"]["mac_address"]: message["data"] for message in peer.messages("/onu/new")}


def test_248_onus_on_each_of_eight_factory_fresh_cards_come_into_service(chassis, peer):
    chassis("--onus", "124", "--seed", "1")
    control("wait", "in-service", "--timeout", "150s")
    wait_for(lambda: sum(report["ether_up_status"] == "1" and report["is_gigabit"] == "1"
                         for report in last_reports(peer).values()) == 8 * 248, 60)
    for slot in range(1, 9):
        assert sum(report["slot_id"] == str(slot) for report in last_reports(peer).values()) == 248


def test_a_cut_fibre_takes_its_port_offline_and_its_repair_brings_it_back(chassis, peer):
    chassis("--onus", "8", "--slots", "3", "--configured", "--seed", "1", slots=[3])
    control("wait", "in-service", "--timeout", "60s")
    wait_for(lambda: len(last_reports(peer)) == 16)
    control("card", "3", "cut", "1")
    wait_for(lambda: sum(report["online_status"] == "0" and
                         report["alarm_message"] == "Report Timeout"
                         for report in last_reports(peer).values()) == 8)
    assert {report["pon_port"] for report in last_reports(peer).values()
            if report["online_status"] == "0"} == {"1"}
    control("card", "3", "restore", "1")
    wait_for(lambda: all(report["online_status"] == report["is_gigabit"] == "1"
                         for report in last_reports(peer).values()))


def test_a_card_that_restarts_is_configured_again_with_all_its_onus(chassis, peer):
    chassis("--onus", "4", "--slots", "2", "--configured", "--reset-time", "1s", "--seed", "1",
            slots=[2])
    control("wait", "in-service", "--timeout", "60s")
    peer.command("/slot/reset", 2)
    wait_for(lambda: not control("list")["cards"][0]["marker"])
    control("wait", "in-service", "--timeout", "60s")
    card, = control("list")["cards"]
    assert card["onus_provisioned"] == 8
