"""Alarms of each kind on their way to the database manager."""

import re

import pytest

from support.card import GET_DOMAINS, LINK_DISCOVERY, REPORT_ALARM, event, link_information, onu_mac

CARD_MAC = bytes.fromhex("000db6000003")
ONU = onu_mac(9)


def on_onu(code, state=1):
    return bytes([3]) + ONU + bytes([code, state, 1, 0])


def on_port(port, code, state=1):
    return bytes([5]) + CARD_MAC + bytes([0, port, code, state, 1, 0])


@pytest.mark.parametrize("data, alarm, label, state", [
    (on_onu(17), "Loss of Signal", "ONU Link: 00:0d:b6:03:00:09", "On"),
    (on_onu(17, 0), "Loss of Signal", "ONU Link: 00:0d:b6:03:00:09", "Off"),
    (on_onu(17, 2), "Loss of Signal", "ONU Link: 00:0d:b6:03:00:09", "Off"),
    (bytes([7]) + CARD_MAC + bytes([129, 1, 1, 0]), "Temperature", "OLT Link: 00:0d:b6:00:00:03", "On"),
    (on_port(0, 163), "No Reports On EPON Port", "OLT Port: EPON-0", "On"),
    (on_port(3, 28), "External Link Fault", "OLT Port: NNI-1", "On"),
    (on_onu(23), "Report Timeout", "ONU Link: 00:0d:b6:03:00:09", "On"),
])
def test_an_alarm_is_reported_with_its_name_label_and_state(card, peer, data, alarm, label, state):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    inserted.send_event(event(REPORT_ALARM, data))
    row, = peer.wait_for("/olt/alarm/new")["alarm_list"]
    assert (row["alarm"], row["label"], row["state"], row["slot_id"]) == (alarm, label, state, "3")
    assert re.fullmatch(r"\d\d/\d\d/\d{4} \d\d:\d\d:\d\d", row["datetime"])


def test_an_alarm_without_a_name_is_printed_and_the_others_are_reported(card, daemon, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    for data in (on_onu(20), on_port(9, 17), on_onu(17)):
        inserted.send_event(event(REPORT_ALARM, data))
    daemon.wait_for_line("]: TK Report Alarm ID(20) not found")
    daemon.wait_for_line("]: TK Entity Port ID(9) not found")
    rows = peer.wait_for("/olt/alarm/new")["alarm_list"]
    assert [row["alarm"] for row in rows] == ["Loss of Signal"]


def test_an_alarm_of_an_unknown_kind_costs_the_batch_and_nothing_more(card, daemon, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    inserted.send_event(event(REPORT_ALARM, bytes([4]) + ONU + bytes([17, 1, 1, 0])))
    daemon.wait_for_line("]: Entity Tag(4) not handled")
    inserted.send_event(event(REPORT_ALARM, on_onu(17)))
    peer.wait_for("/olt/alarm/new")


def test_a_discovery_that_is_too_short_is_printed_and_makes_no_link(card, daemon, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    short = bytearray(link_information(ONU))
    short[7] = 17
    inserted.send_event(event(LINK_DISCOVERY, bytes(short)))
    daemon.wait_for_line("]: Link Length is below 18 bytes")
    inserted.send_event(event(LINK_DISCOVERY, link_information(ONU)[:-1]))
    daemon.wait_for_line("parseLink_Discovery[")
    assert peer.messages("/onu/new") == []
