"""The life of an ONU link by its ways in and out."""

import json

from support.card import (CLEAR_PROVISIONING, BRIDGING_MODE, DIAGNOSIS, ENABLE_LINK, ETHERNET_PORT,
                          GET_DOMAINS, KNOWN_LINKS, LINK_DISCOVERY, LINK_MOVED, LINK_SLA,
                          GET_OLT_INFORMATION, ONU_INFORMATION, QUEUE_SLA, REPORT_ALARM, RESET_ONU,
                          Card, event, link_information, mac_text, olt_ready, onu_mac)
from support.waiting import wait_for

SLA = "00000000" "ffff" "ff" "ffff" "000f4240" "00c8" "02" "0010"
ONE, TWO = onu_mac(1), onu_mac(2)


def marked_card(peer, slot=3, **links):
    """A card that was configured before, with its links."""
    inserted = Card(slot, marked=True)
    inserted.known = links.get("known", [])
    inserted.discovered = links.get("discovered", [])
    peer.address(slot)
    return inserted


def reports(peer, mac):
    return [message["data"] for message in peer.messages("/onu/new")
            if message["data"]["mac_address"] == mac_text(mac)]


def wait_for_report(peer, mac, **wanted):
    return wait_for(lambda: next((report for report in reports(peer, mac)
                                  if wanted.items() <= report.items()), None),
                    what=lambda: f"report {wanted}; came: {reports(peer, mac)}")


def test_a_discovered_link_is_provisioned_once_byte_for_byte_and_reported(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    card.send_event(event(LINK_DISCOVERY, link_information(ONE, downstream_port=1)))
    report = wait_for_report(peer, ONE, is_gigabit="1")
    assert report["online_status"] == report["ether_up_status"] == "1"
    assert report["pon_port"] == "1"
    assert report["slot_id"] == "3"
    assert (report["downstream_queue"], report["upstream_queue"], report["mcast_queue"]) == \
        ("0101", "0201", "0301")
    provisioning = [(request.id, request.data.hex()) for request in card.requests
                    if request.id in (BRIDGING_MODE, ENABLE_LINK, LINK_SLA, QUEUE_SLA, ETHERNET_PORT)]
    mac = ONE.hex()
    assert provisioning == [
        (BRIDGING_MODE, mac),
        (ENABLE_LINK, mac),
        (LINK_SLA, mac + SLA + "01" "02" "00000000" "00000000"),
        (QUEUE_SLA, "0101" "0000" + SLA),
        (QUEUE_SLA, "0201" "0000" + SLA),
        (QUEUE_SLA, "0301" "0000" + SLA),
        (ETHERNET_PORT, mac + "80" "01" "01" "00" "0001" "01" "01" "01" "01"),
    ]
    alarm = peer.wait_for("/olt/alarm/new")["alarm_list"]
    assert [(row["alarm"], row["label"], row["state"]) for row in alarm] == \
        [("Report Timeout", f"ONU Link: {mac_text(ONE)}", "Off")]
    assert daemon.texts() == []


def test_links_of_the_list_are_found_provisioned_a_pass_later_and_their_port_asked(daemon, peer):
    card = marked_card(peer, discovered=[ONE, TWO])
    for mac in (ONE, TWO):
        report = wait_for_report(peer, mac, is_gigabit="1")
        assert report["pon_port"] == "1"  # the upstream port
    ids = card.ids()
    assert ids.index(KNOWN_LINKS) < ids.index(ONU_INFORMATION) < ids.index(BRIDGING_MODE)
    card.wait_for(KNOWN_LINKS, 2)
    assert [request.data for request in card.of(ONU_INFORMATION)] == [ONE, TWO]


def test_a_link_only_known_is_cleared_and_removed_without_a_report(daemon, peer):
    card = marked_card(peer, known=[ONE, TWO], discovered=[TWO])
    assert card.wait_for(CLEAR_PROVISIONING).data == ONE
    wait_for_report(peer, TWO, is_gigabit="1")
    assert reports(peer, ONE) == []


def test_a_dying_gasp_takes_a_link_offline_reported_once_and_forgotten(daemon, peer):
    card = marked_card(peer, discovered=[ONE, TWO])
    wait_for_report(peer, TWO, is_gigabit="1")
    card.send_event(event(REPORT_ALARM, bytes([3]) + ONE + bytes([64, 0, 1, 0])))
    report = wait_for_report(peer, ONE, online_status="0")
    assert report["alarm_message"] == "Standard Dying Gasp"
    count = len(reports(peer, ONE))
    # still reachable as a name for nobody: a move of it changes nothing but makes its alarm
    card.send_event(event(LINK_MOVED, ONE + bytes([0, 1])))
    wait_for(lambda: any("Moved" in text for text in peer.texts()))
    assert len(reports(peer, ONE)) == count
    assert all(report["online_status"] == "1" for report in reports(peer, TWO))


def test_a_moved_link_is_reported_with_its_new_port(daemon, peer):
    card = marked_card(peer, discovered=[ONE])
    wait_for_report(peer, ONE, is_gigabit="1")
    card.send_event(event(LINK_MOVED, ONE + bytes([1, 0])))
    wait_for_report(peer, ONE, pon_port="0")
    alarm = peer.wait_for("/olt/alarm/new")["alarm_list"]
    assert [(row["alarm"], row["label"], row["state"]) for row in alarm] == \
        [("ONU Link Moved Between PON Ports", f"ONU Link: {mac_text(ONE)}", "On")]


def test_a_removed_link_is_cleared_on_the_card_and_not_reported(daemon, peer):
    card = marked_card(peer, discovered=[ONE, TWO])
    wait_for_report(peer, TWO, is_gigabit="1")
    count = len(reports(peer, ONE))
    card.discovered = [TWO]
    peer.command("/slot/onu/remove", 3, mac_address=mac_text(ONE))
    assert card.wait_for(CLEAR_PROVISIONING).data == ONE
    card.wait_for(KNOWN_LINKS, 2)
    assert len(reports(peer, ONE)) == count


def test_an_onu_is_reset_on_command(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    peer.command("/slot/onu/reset", 3, mac_address=mac_text(TWO))
    assert card.wait_for(RESET_ONU).data == TWO
    daemon.wait_for_line("]: Response Message ID (83) not handled")


def test_olt_ready_starts_everything_again(daemon, peer):
    card = marked_card(peer, discovered=[ONE])
    wait_for_report(peer, ONE, is_gigabit="1")
    offline = len(peer.messages("/onu/set/all/offline", 3))
    alarms = len(peer.messages("/olt/alarm/new"))
    card.socket.sendto(olt_ready(3), card.last_sender)
    card.send_event(event(LINK_DISCOVERY, link_information(TWO)))
    card.wait_for(GET_OLT_INFORMATION, 2)
    assert len(peer.messages("/onu/set/all/offline", 3)) == offline + 1
    # an event behind it in the same batch is lost with the batch, one that came later is not
    wait_for(lambda: len(reports(peer, ONE)) > 1)
    assert len(peer.messages("/olt/alarm/new")) <= alarms + 1


def test_optical_levels_are_read_on_the_first_full_pass_and_every_32nd(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    first = card.wait_for(312, 1, limit=20)
    again = card.wait_for(312, 3, limit=60)
    assert 31 <= again.time - first.time <= 38
    assert [request.data.hex() for request in card.of(312)[:2]] == [
        "05" "000db6000003" "0000" "000b" "ff" "04",
        "05" "000db6000003" "0001" "000b" "ff" "04"]
    row = peer.wait_for("/olt/new", 3, matching=lambda data: data["module_olt_table"][0][
        "ucOpticModuleOltVcc"] == "3.30")["module_olt_table"]
    assert row[1] == {"id": "0", "ucOpticModuleOltPonIndex": "", "ucOpticModuleOltSlotIndex": "",
                      "ucOpticModuleOltTemperature": "40.00", "ucOpticModuleOltTxBias": "10.00",
                      "ucOpticModuleOltTxPower": "0.00", "ucOpticModuleOltVcc": "3.30"}


def test_levels_of_an_onu_are_converted_and_reported(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    card.send_event(event(LINK_DISCOVERY, link_information(ONE)))
    wait_for_report(peer, ONE, is_gigabit="1")
    card.wait_for(DIAGNOSIS, limit=60)
    report = wait_for_report(peer, ONE, temperature="40.00")
    assert (report["supply_voltage"], report["tx_bias_current"]) == ("3.30", "10.00")
    assert (report["tx_power_input"], report["tx_power_output"]) == ("-30.00", "0.00")


def test_248_links_of_one_answer_all_come_up(daemon, peer):
    macs = [onu_mac(index) for index in range(248)]
    card = marked_card(peer, discovered=macs)
    card.answer_after = 0.0005
    for mac in (macs[0], macs[123], macs[247]):
        wait_for(lambda wanted=mac: any(report["is_gigabit"] == "1"
                                        for report in reports(peer, wanted)), 60)
    assert len({json.loads(text)["data"]["mac_address"] for text in peer.texts()
                if '"/onu/new"' in text}) == 248
