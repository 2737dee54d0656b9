"""The commands of the database manager: addresses, enable, disable, reset."""

import pytest

from support.card import (DISABLE_OLT, ENABLE_OLT, GET_DOMAINS, GET_NVS, GET_OAM_SETS,
                          GET_OLT_INFORMATION, RESET_OLT, Card)
from support.waiting import wait_for


@pytest.mark.parametrize("uri, request_id",
                         [("/slot/enable", ENABLE_OLT), ("/slot/disable", DISABLE_OLT),
                          ("/slot/reset", RESET_OLT)])
def test_a_slot_command_sends_its_request(card, daemon, peer, uri, request_id):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    peer.command(uri, 3)
    assert inserted.wait_for(request_id).data == b""
    if request_id == RESET_OLT:
        daemon.wait_for_line("]: Response Message ID (6) not handled")


def test_a_command_reaches_only_its_slot(card, peer):
    first, second = card(1, marked=True), card(2, marked=True)
    first.wait_for(GET_DOMAINS)
    second.wait_for(GET_DOMAINS)
    peer.command("/slot/disable", 2)
    second.wait_for(DISABLE_OLT)
    assert DISABLE_OLT not in first.ids()


def test_commands_to_a_slot_are_carried_out_in_order(card, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    wanted = ["/slot/disable", "/slot/enable"] * 5
    for uri in wanted:
        peer.command(uri, 3)
    wait_for(lambda: len([i for i in inserted.ids() if i in (ENABLE_OLT, DISABLE_OLT)]) == 10)
    assert [i for i in inserted.ids() if i in (ENABLE_OLT, DISABLE_OLT)] == \
        [DISABLE_OLT, ENABLE_OLT] * 5


def test_a_command_to_a_slot_without_address_says_so(daemon, peer):
    peer.command("/slot/enable", 6)
    assert daemon.wait_for_line("Client ip").startswith("sendRequestMessage[")
    assert daemon.texts()[0].endswith("]: Client ip address empty to slot 6")


def test_a_new_address_starts_the_bring_up_from_the_beginning(card, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    offline = len(peer.messages("/onu/set/all/offline", 3))
    peer.command("/olt/ip", 3, ip_address="127.0.1.3")
    inserted.wait_for(GET_OLT_INFORMATION, 2)
    inserted.wait_for(GET_NVS, 2)
    inserted.wait_for(GET_OAM_SETS, 2)
    assert len(peer.messages("/onu/set/all/offline", 3)) == offline + 1


def test_a_slot_follows_its_card_to_another_address(card, peer):
    first = card(3, marked=True)
    first.wait_for(GET_DOMAINS)
    second = Card(3, address="127.0.1.33")
    peer.command("/olt/ip", 3, ip_address="127.0.1.33")
    second.wait_for(GET_OLT_INFORMATION)
    count = len(first.requests)
    second.wait_for(GET_OAM_SETS, 2)
    assert len(first.requests) == count


def test_an_empty_address_idles_the_slot(card, daemon, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    offline = len(peer.messages("/onu/set/all/offline", 3))
    peer.command("/olt/ip", 3, ip_address="")
    wait_for(lambda: len(peer.messages("/onu/set/all/offline", 3)) == offline + 1)
    count = len(inserted.requests)
    peer.command("/slot/enable", 3)
    daemon.wait_for_line("Client ip address empty to slot 3")
    assert len(inserted.requests) == count
    peer.address(3)
    wait_for(lambda: len(inserted.of(GET_OLT_INFORMATION)) == 2)


def test_the_first_source_address_stays_the_transports(card, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    peer.command("/olt/src_ip", 3, ip_address="127.0.0.2")
    peer.command("/olt/ip", 3, ip_address="127.0.1.3")
    inserted.wait_for(GET_OLT_INFORMATION, 2)
    assert inserted.last_sender == ("127.0.0.1", 14113)


def test_a_source_address_that_is_not_ours_is_tried_again_every_second(daemon, peer):
    peer.address(3, source="192.0.2.1")
    wait_for(lambda: daemon.count("]: Failed to bind socket") >= 2)
    assert daemon.count("Exception: bind[") == daemon.count("]: Failed to bind socket")
    assert daemon.count("bind failed: Cannot assign requested address") >= 2
    assert daemon.is_running()


def test_a_command_sent_during_a_long_exchange_waits_for_it(card, daemon, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)
    inserted.rules[GET_OAM_SETS] = lambda asked, request: []
    inserted.wait_for(GET_OAM_SETS, 2)
    peer.command("/slot/disable", 3)
    inserted.wait_for(GET_OAM_SETS, 4)
    assert DISABLE_OLT not in inserted.ids()
    inserted.wait_for(DISABLE_OLT, limit=40)
