"""The life of an ONU link by its ways in and out."""

import json

import pytest

from support.card import (BRIDGING_MODE, CLEAR_PROVISIONING, DELETE_QUEUE_SLA, DIAGNOSIS, DISABLE_OLT,
                          ENABLE_LINK, ETHERNET_PORT, GET_DOMAINS, GET_OLT_INFORMATION, KNOWN_LINKS,
                          LINK_DISCOVERY, LINK_MOVED, LINK_SLA, ONU_INFORMATION, PATHS, QUEUE_SLA,
                          REPORT_ALARM, RESET_ONU, STATISTICS, Card, event, link_information,
                          mac_text, olt_ready, onu_mac, response, statistics)
from support.waiting import wait_for

SLA = "00000000" "ffff" "ff" "ffff" "000f4240" "00c8" "02" "0010"
ONE, TWO, THREE = onu_mac(1), onu_mac(2), onu_mac(3)


def in_one_batch(card, peer, *frames):
    """Sends events while an exchange of the slot is under way, so that one pass handles them all."""
    def during(asked, request):
        for frame in frames:
            asked.send_event(frame)
        del asked.rules[DISABLE_OLT]
        return [response(request)]

    card.rules[DISABLE_OLT] = during
    peer.command("/slot/disable", card.slot)


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
    # during a long exchange, so that both events wait for the same pass
    in_one_batch(card, peer, olt_ready(3), event(LINK_DISCOVERY, link_information(TWO)))
    card.wait_for(GET_OLT_INFORMATION, 2)
    assert len(peer.messages("/onu/set/all/offline", 3)) == offline + 1
    known = len(reports(peer, ONE))
    wait_for(lambda: len(reports(peer, ONE)) > known)
    # what stood behind it in its batch is lost with the batch
    assert reports(peer, TWO) == []
    assert peer.messages("/olt/alarm/new") == []


def test_an_olt_ready_too_short_is_a_line_and_no_restart(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    offline = len(peer.messages("/onu/set/all/offline", 3))
    card.socket.sendto(olt_ready(3)[:-1], card.last_sender)
    daemon.wait_for_line("]: Impossible to parse offset=90, length=1")
    card.wait_for(KNOWN_LINKS, 2)
    assert len(card.of(GET_OLT_INFORMATION)) == 1
    assert len(peer.messages("/onu/set/all/offline", 3)) == offline


def test_an_olt_ready_during_the_configuration_is_handled_in_the_first_full_pass(daemon, peer):
    card = Card(3)

    def restart(asked, request):
        if len(asked.of(1)) == 1:
            asked.send_event(olt_ready(3))
        return [response(request)]

    card.rules[1] = restart
    peer.address(3)
    card.wait_for(GET_OLT_INFORMATION, 2)
    ids = card.ids()
    first_end = ids.index(8)
    assert ids[first_end + 1:first_end + 3] == [435, GET_OLT_INFORMATION]
    assert card.wait_for(301, 2)


def test_an_event_that_cant_be_read_costs_its_batch_the_restart_included(daemon, peer):
    card = marked_card(peer, discovered=[ONE])
    wait_for_report(peer, ONE, is_gigabit="1")
    bad_tag = event(REPORT_ALARM, bytes([4]) + ONE + bytes([17, 1, 1, 0]))
    in_one_batch(card, peer, olt_ready(3), bad_tag)
    daemon.wait_for_line("]: Entity Tag(4) not handled")
    card.wait_for(KNOWN_LINKS, 2)
    assert len(card.of(GET_OLT_INFORMATION)) == 1


def test_two_links_that_go_in_one_batch_are_reported_once_each_and_the_third_stays(daemon, peer):
    card = marked_card(peer, discovered=[ONE, TWO, THREE])
    wait_for_report(peer, THREE, is_gigabit="1")
    gasp = lambda mac, code: event(REPORT_ALARM, bytes([3]) + mac + bytes([code, 0, 1, 0]))
    before = len(reports(peer, THREE))
    in_one_batch(card, peer, gasp(ONE, 23), gasp(TWO, 64))
    wait_for_report(peer, ONE, online_status="0", alarm_message="Report Timeout")
    wait_for_report(peer, TWO, online_status="0", alarm_message="Standard Dying Gasp")
    card.discovered = [THREE]
    card.wait_for(KNOWN_LINKS, 2)
    assert [sum(report["online_status"] == "0" for report in reports(peer, mac))
            for mac in (ONE, TWO, THREE)] == [1, 1, 0]
    assert len(reports(peer, THREE)) == before
    alarms, = peer.messages("/olt/alarm/new")
    assert [(row["alarm"], row["state"]) for row in alarms["data"]["alarm_list"]] == \
        [("Report Timeout", "Off"), ("Standard Dying Gasp", "Off")]


def test_a_link_is_provisioned_afresh_when_it_is_discovered_again(daemon, peer):
    card = marked_card(peer, discovered=[ONE])
    wait_for_report(peer, ONE, is_gigabit="1")
    card.send_event(event(REPORT_ALARM, bytes([3]) + ONE + bytes([64, 1, 1, 0])))
    wait_for_report(peer, ONE, online_status="0")
    count = len(card.of(LINK_SLA))
    card.send_event(event(LINK_DISCOVERY, link_information(ONE)))
    card.wait_for(LINK_SLA, count + 1)
    wait_for(lambda: reports(peer, ONE)[-1]["online_status"] == "1")
    assert reports(peer, ONE)[-1]["alarm_message"] == ""


def test_a_link_whose_service_level_is_refused_is_reported_so_and_tried_on_every_pass(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    card.rules[LINK_SLA] = lambda asked, request: [response(request, result=3)]
    card.send_event(event(LINK_DISCOVERY, link_information(ONE)))
    wait_for_report(peer, ONE, is_gigabit="0", online_status="1")
    card.wait_for(LINK_SLA, 3)
    assert len(card.of(ETHERNET_PORT)) == 1
    del card.rules[LINK_SLA]
    wait_for_report(peer, ONE, is_gigabit="1")


def test_a_refused_enable_stops_no_service_level_and_a_refused_port_is_not_asked_again(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    card.rules[ENABLE_LINK] = lambda asked, request: [response(request, result=3)]
    card.rules[ETHERNET_PORT] = lambda asked, request: [response(request, result=3)]
    card.send_event(event(LINK_DISCOVERY, link_information(ONE)))
    wait_for_report(peer, ONE, is_gigabit="1", ether_up_status="1")
    card.wait_for(KNOWN_LINKS, 2)
    assert len(card.of(ENABLE_LINK)) == len(card.of(ETHERNET_PORT)) == 1


def test_one_bad_queue_answer_costs_all_endpoints_and_provisioning_goes_on(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    card.rules[BRIDGING_MODE] = lambda asked, request: [
        response(request, request.data + bytes(14 if request.data == TWO else 15))]
    in_one_batch(card, peer, event(LINK_DISCOVERY, link_information(ONE)),
                 event(LINK_DISCOVERY, link_information(TWO)))
    wait_for_report(peer, TWO, is_gigabit="1")
    assert [request.data.hex() for request in card.of(QUEUE_SLA)] == ["0000" + SLA] * 6


def test_paths_that_are_no_longer_used_are_deleted_with_their_successors(daemon, peer):
    card = Card(3, marked=True)
    card.rules[PATHS] = lambda asked, request: [response(request, bytes.fromhex(
        "0008" "0000" "0009" "0002" "1fff" "0003" "2000" "0000"))]
    peer.address(3)
    card.wait_for(DELETE_QUEUE_SLA, 2)
    card.wait_for(KNOWN_LINKS, 2)
    assert [request.data.hex() for request in card.of(DELETE_QUEUE_SLA)[:2]] == \
        ["0009" "0000", "000a" "0000"]
    assert len(card.of(DELETE_QUEUE_SLA)) <= 4


@pytest.mark.parametrize("mac", ["", "garbage", "00:0D:B6:03:00:01"])
def test_commands_for_an_onu_that_isnt_known_leave_the_links_alone(daemon, peer, mac):
    card = marked_card(peer, discovered=[ONE])
    wait_for_report(peer, ONE, is_gigabit="1")
    peer.command("/slot/onu/remove", 3, mac_address=mac)
    peer.command("/slot/onu/reset", 3, mac_address=mac)
    card.wait_for(RESET_ONU)
    card.send_event(event(LINK_MOVED, ONE + bytes([1, 0])))
    wait_for_report(peer, ONE, pon_port="0")


def test_one_onu_that_refuses_its_levels_costs_the_others_nothing(daemon, peer):
    card = marked_card(peer)
    card.wait_for(GET_DOMAINS)
    card.rules[DIAGNOSIS] = lambda asked, request: \
        [response(request, b"\x00", result=3)] if request.data == ONE else [] \
        if request.data == TWO else asked.GOOD_ANSWERS[DIAGNOSIS](asked, request)
    in_one_batch(card, peer, *[event(LINK_DISCOVERY, link_information(mac))
                               for mac in (ONE, TWO, THREE)])
    wait_for_report(peer, THREE, is_gigabit="1")
    card.wait_for(DIAGNOSIS, limit=60)
    report = wait_for_report(peer, THREE, temperature="40.00")
    assert report["supply_voltage"] == "3.30"
    assert all(report["temperature"] == "-" for mac in (ONE, TWO) for report in reports(peer, mac))


def test_a_reading_beyond_any_level_is_a_line_and_the_other_port_is_read(daemon, peer):
    card = Card(3, marked=True)
    card.rules[STATISTICS] = lambda asked, request: [statistics(
        request, {4: 1 << 31} if request.data[8] == 0 else {4: 10000, 5: 33000, 7: 10240})]
    peer.address(3)
    daemon.wait_for_line("Unknown Error at doGetOltOpticsPower")
    rows = peer.wait_for("/olt/new", 3, matching=lambda data: data["module_olt_table"][1][
        "ucOpticModuleOltVcc"] == "3.30")["module_olt_table"]
    assert rows[0]["ucOpticModuleOltTxPower"] == "-"
    assert rows[1]["ucOpticModuleOltTxBias"] == "-"  # not in the answer


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
