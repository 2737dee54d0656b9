"""The VLAN commands, with good and bad values."""

import pytest

from support.card import (DELETE_RULE, GET_DOMAINS, GET_RULES, ONU_VLAN, SET_RULE, response)

MAC = "000db6000003"
HEAD = "00" "01" "08" "01"


def rule_a(port, vlan):
    return f"05{MAC}{port:04x}" + HEAD + f"04" "05" "01" "8100" f"{vlan:04x}" "01" "01" "00" "00" \
        "0000000000000000" "07"


def rule_b(port):
    return f"05{MAC}{port + 2:04x}" + HEAD + "05" "01" "01" "01" "01" "00" "00" "0000000000000000" "07"


def rule_c(port, vlan):
    return f"05{MAC}{port + 2:04x}" + HEAD + "02" "02" "0000" "01" "06" "34" "00" f"{vlan:016x}" "02"


def rule_d(port):
    return f"05{MAC}{port + 2:04x}" + HEAD + "02" "02" "0000" "01" "06" "00" "00" \
        "0000000000000000" "06"


@pytest.fixture
def steady(card):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    inserted.rules[GET_RULES] = lambda asked, request: [
        response(request, request.data + bytes([6, 0]))]
    return inserted


def vlan(peer, **data):
    peer.command("/olt/vlan", 3, **data)


@pytest.mark.parametrize("port, number", [("0", 100), ("1", 4095), ("65536", 65537)])
def test_a_vlan_is_two_rules(steady, peer, port, number):
    vlan(peer, vlan_id=str(number), discard_untagged="0", pon_number=port)
    steady.wait_for(SET_RULE, 2)
    port, number = int(port) % 65536, number % 65536
    assert [request.data.hex() for request in steady.of(GET_RULES)] == [
        f"05{MAC}{port:04x}", f"05{MAC}{port + 2:04x}"]
    assert [request.data.hex() for request in steady.of(SET_RULE)] == [rule_a(port, number),
                                                                       rule_b(port)]


def test_discarding_untagged_frames_takes_two_more(steady, peer):
    vlan(peer, vlan_id="255", discard_untagged="1", pon_number="1")
    steady.wait_for(SET_RULE, 4)
    assert [request.data.hex() for request in steady.of(SET_RULE)] == [
        rule_a(1, 255), rule_b(1), rule_c(1, 255), rule_d(1)]


def test_rules_that_are_there_are_deleted_first_and_an_empty_vlan_installs_none(steady, peer):
    short = bytes.fromhex("0001080100") + b"\x11" * 13
    long = bytes.fromhex("0001080300") + b"\x22" * 13 + b"\x33" * 2
    steady.rules[GET_RULES] = lambda asked, request: [
        response(request, request.data + bytes([6, 2]) + short + long)]
    vlan(peer, vlan_id="", discard_untagged="0", pon_number="0")
    steady.wait_for(DELETE_RULE, 4)
    target = f"05{MAC}"
    assert [request.data.hex() for request in steady.of(DELETE_RULE)] == [
        target + port + "06" "01" + rule.hex()
        for port in ("0000", "0002") for rule in (short, long)]
    assert steady.of(SET_RULE) == []


@pytest.mark.parametrize("port, number, line", [
    ("2", "100", "]: Impossible to add VLAN to PON Number(2)"),
    ("0", "0", "]: Impossible to set VLAN ID equals to (0)"),
    ("-1", "100", "]: Impossible to add VLAN to PON Number(-1)"),
    ("0", "65536", "]: Impossible to set VLAN ID equals to (65536)"),
    ("0", "4096", "]: Impossible to set VLAN ID equals to (4096)"),
    ("", "100", "Unknown Error at doSetOltVlan"),
    ("0", "abc", "Unknown Error at doSetOltVlan"),
])
def test_a_value_out_of_range_is_one_line_and_nothing_is_sent(steady, daemon, peer, port, number,
                                                              line):
    vlan(peer, vlan_id=number, discard_untagged="0", pon_number=port)
    daemon.wait_for_line(line)
    assert len(daemon.texts()) == 1
    assert not {GET_RULES, SET_RULE, DELETE_RULE} & set(steady.ids())


def test_new_rules_are_installed_also_when_the_old_ones_cant_be_listed(steady, daemon, peer):
    steady.rules[GET_RULES] = lambda asked, request: [response(request, result=3)]
    vlan(peer, vlan_id="100", discard_untagged="2", pon_number="0")
    steady.wait_for(SET_RULE, 2)
    daemon.wait_for_line("]: Invalid OLT Port/Link Rules")
    assert len(steady.of(SET_RULE)) == 2
    assert steady.of(DELETE_RULE) == []


@pytest.mark.parametrize("number, tail", [("100", "01" "8100" "0064"), ("0", "00"), ("abc", "00"),
                                          ("-5", "00"), ("70000", "01" "8100" "1170")])
def test_an_onu_port_gets_its_vlan_or_none(steady, peer, number, tail):
    peer.command("/slot/onu/set/vlanid", 3, vlan_id=number, mac_address="00:0d:b6:03:00:07")
    assert steady.wait_for(ONU_VLAN).data.hex() == "000db6030007" "80" "01" "01" "00" "0001" + tail
