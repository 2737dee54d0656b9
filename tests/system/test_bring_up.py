"""A card is found out, its stored configuration switched off, its markers checked, and it is reported."""

from support.card import (DISABLE_OLT, ENABLE_OLT, GET_DOMAINS, GET_NVS, GET_OAM_SETS,
                          GET_OLT_INFORMATION, RESET_OLT, SET_NVS, SET_OAM_SETS, STATISTICS, Card,
                          response)
from support.waiting import wait_for


def test_a_card_is_identified_and_reported(card, peer):
    inserted = card(3)
    report = peer.wait_for("/olt/new", 3, matching=lambda data: data["mac_address"])
    assert report["mac_address"] == "00:0d:b6:00:00:03"
    assert report["app_version"] == "0417"
    assert report["online_status"] == "1"
    assert report["status_reported"] == "0"
    asked = inserted.requests[0]
    assert (asked.id, asked.ctag, asked.data) == (GET_OLT_INFORMATION, 1, b"")


def test_requests_follow_one_another_with_rising_tags(card):
    inserted = card(1)
    inserted.wait_for(GET_OAM_SETS)
    ctags = [request.ctag for request in inserted.requests]
    assert ctags == list(range(1, len(ctags) + 1))


def test_stored_configuration_is_switched_off_and_the_card_reset(card, daemon, peer):
    inserted = card(2, nvs=True)
    inserted.wait_for(RESET_OLT)
    assert inserted.ids()[:4] == [GET_OLT_INFORMATION, GET_NVS, SET_NVS, RESET_OLT]
    assert inserted.of(SET_NVS)[0].data == b"\x00"
    daemon.wait_for_line("]: Response Message ID (6) not handled")
    # asked once: the answer stays known until the card is forgotten
    inserted.wait_for(GET_OAM_SETS)
    assert len(inserted.of(GET_NVS)) == 1


def test_a_card_without_stored_configuration_is_not_reset(card):
    inserted = card(2)
    inserted.wait_for(GET_OAM_SETS, 2)
    assert RESET_OLT not in inserted.ids()
    assert SET_NVS not in inserted.ids()


def test_an_unmarked_card_is_marked_between_disable_and_enable_and_asked_again(card):
    inserted = card(7)
    inserted.wait_for(GET_OAM_SETS, 2)
    first_check = inserted.of(GET_OAM_SETS)[1].time
    ids = inserted.ids()
    assert ids[:5] == [GET_OLT_INFORMATION, GET_NVS, GET_OAM_SETS, DISABLE_OLT, SET_OAM_SETS]
    assert ids[ids.index(ENABLE_OLT) + 1] == GET_OAM_SETS
    assert inserted.of(GET_OAM_SETS)[0].data.hex() == "08000db60000070100020003000400"
    assert inserted.of(SET_OAM_SETS)[0].data.hex() == (
        "08000db6000007"
        "010500000db601"
        "02050011111101"
        "030500aaaaaa00"
        "04050000a1f500")
    # configured now: but for the optical levels of its two ports in the first full pass, nothing is
    # asked until the markers are checked again, in the twelfth
    again = inserted.wait_for(GET_OAM_SETS, 3)
    first = inserted.requests.index(inserted.of(GET_OAM_SETS)[1])
    assert inserted.ids()[first + 1:inserted.requests.index(again)] == [STATISTICS, STATISTICS]
    assert again.time - first_check > 10


def test_a_marked_card_is_not_configured_again_and_its_domains_are_asked_for(card):
    inserted = card(6, marked=True)
    inserted.wait_for(GET_DOMAINS)
    assert inserted.ids()[:4] == [GET_OLT_INFORMATION, GET_NVS, GET_OAM_SETS, GET_DOMAINS]
    assert not {DISABLE_OLT, SET_OAM_SETS, ENABLE_OLT, RESET_OLT} & set(inserted.ids())


def test_an_answer_without_the_marker_is_an_unmarked_card(card):
    inserted = card(1, marked=True)
    inserted.rules[GET_OAM_SETS] = lambda asked, request: [
        response(request, bytes.fromhex("08000db6000001" "010500000db601"))]
    inserted.wait_for(SET_OAM_SETS, 2)
    assert inserted.ids().count(DISABLE_OLT) >= 2


def test_the_markers_are_checked_again_on_every_twelfth_full_pass(card):
    inserted = card(1, marked=True)
    first = inserted.wait_for(GET_OAM_SETS, 1)
    second = inserted.wait_for(GET_OAM_SETS, 2)
    # the pass of the first check is a full one and counts; eleven more follow, a second each
    assert 11.5 <= second.time - first.time <= 14
    inserted.wait_for(GET_DOMAINS, 2)
    assert len(inserted.of(GET_NVS)) == 1
    assert len(inserted.of(GET_OLT_INFORMATION)) == 1


def test_a_card_that_says_nothing_of_its_domains_is_reset(card, daemon):
    inserted = card(4, marked=True)
    inserted.rules[GET_DOMAINS] = lambda asked, request: []
    inserted.wait_for(RESET_OLT, limit=40)
    domains = inserted.of(GET_DOMAINS)
    assert len(domains) == 3
    assert len({request.ctag for request in domains}) == 1
    daemon.wait_for_line("Impossible to send messages to card")


def test_a_card_with_several_domains_is_a_good_card(card):
    inserted = card(4, marked=True)
    inserted.rules[GET_DOMAINS] = lambda asked, request: [
        response(request, bytes.fromhex("0402000404030004"))]
    inserted.wait_for(GET_OAM_SETS, 2)
    assert RESET_OLT not in inserted.ids()


def test_another_product_stays_unidentified_and_is_asked_and_reported_every_pass(card, peer):
    inserted = card(8, product="3724")
    inserted.wait_for(GET_OLT_INFORMATION, 3)
    reports = wait_for(lambda: [data for data in
                                (message["data"] for message in peer.messages("/olt/new", 8))
                                if data["online_status"] == "1"][2:])
    assert all(data["mac_address"] == "" and data["app_version"] == "" for data in reports)
    assert set(inserted.ids()) == {GET_OLT_INFORMATION}


def test_eight_slots_are_brought_up_at_once(daemon, peer):
    cards = [Card(slot, nvs=slot % 2 == 0) for slot in range(1, 9)]
    for slot in range(1, 9):
        peer.address(slot)
    for inserted in cards:
        inserted.wait_for(SET_OAM_SETS)
    for slot in range(1, 9):
        report = peer.wait_for("/olt/new", slot, matching=lambda data: data["mac_address"])
        assert report["mac_address"] == f"00:0d:b6:00:00:0{slot}"
    first = [inserted.requests[0].time for inserted in cards]
    last = [inserted.of(SET_OAM_SETS)[0].time for inserted in cards]
    assert max(last) - min(first) < 12
