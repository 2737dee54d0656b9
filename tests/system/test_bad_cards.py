"""Silent, slow, lying and short-talking cards, and what they may not do to their neighbours."""

import struct
from pathlib import Path

from support.card import (GET_DOMAINS, GET_NVS, GET_OAM_SETS, GET_OLT_INFORMATION, SET_NVS,
                          SET_OAM_SETS, Card, olt_information, response)
from support.waiting import wait_for


def is_bound():
    """Whether the daemon's UDP socket, 127.0.0.1:14113, is there."""
    return "0100007F:3721" in Path("/proc/net/udp").read_text()


def test_a_silent_card_is_asked_three_times_in_fifteen_seconds(card, daemon, peer):
    inserted = card(1)
    inserted.silent = True
    daemon.wait_for_line("]: Impossible to send messages to card")
    tries = inserted.of(GET_OLT_INFORMATION)[:3]
    assert len({request.ctag for request in tries}) == 1
    assert 3.8 <= tries[1].time - tries[0].time <= 5.3
    assert 4.8 <= tries[2].time - tries[1].time <= 5.3
    # then the next pass asks anew, with the next tag
    fourth = inserted.wait_for(GET_OLT_INFORMATION, 4)
    assert fourth.ctag == tries[0].ctag + 1
    assert 5.8 <= fourth.time - tries[2].time <= 6.6
    inserted.silent = False
    peer.wait_for("/olt/new", 1, matching=lambda data: data["mac_address"])


def test_an_answer_after_the_time_is_up_still_ends_the_second_wait(card, daemon, peer):
    inserted = card(2)
    late = []

    def slow(asked, request):
        late.append(request)
        if len(late) == 1:
            asked.answer_after = 6
            return [response(request, olt_information(2))]
        asked.answer_after = 0.002
        return []

    inserted.rules[GET_OLT_INFORMATION] = slow
    peer.wait_for("/olt/new", 2, matching=lambda data: data["mac_address"])
    tries = inserted.of(GET_OLT_INFORMATION)
    assert len(tries) == 2
    assert tries[0].ctag == tries[1].ctag
    assert daemon.texts() == []


def test_wrong_tags_and_ids_are_no_answers(card, daemon):
    inserted = card(3)

    def lie(asked, request):
        return [response(request._replace(ctag=request.ctag + 1), olt_information(3)),
                response(request._replace(id=GET_NVS), olt_information(3))]

    inserted.rules[GET_OLT_INFORMATION] = lie
    daemon.wait_for_line("Impossible to send messages to card")
    assert set(inserted.ids()) == {GET_OLT_INFORMATION}


def test_answers_from_another_port_are_no_answers(card, daemon):
    inserted = card(3)
    other = Card(3, port=14114)

    def from_elsewhere(asked, request):
        other.socket.sendto(response(request, olt_information(3)), asked.last_sender)
        return []

    inserted.rules[GET_OLT_INFORMATION] = from_elsewhere
    daemon.wait_for_line("Impossible to send messages to card")


def test_result_codes_are_printed_and_the_sequence_goes_on(card, daemon):
    inserted = card(5)
    inserted.rules[SET_OAM_SETS] = lambda asked, request: [response(request, result=1)]
    daemon.wait_for_line("]: Unsupported Message ID <436>")
    inserted.rules[SET_OAM_SETS] = lambda asked, request: [response(request, result=3)]
    daemon.wait_for_line("]: Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <436>")
    inserted.rules[SET_OAM_SETS] = lambda asked, request: [response(request, result=0x105)]
    daemon.wait_for_line("]: Invalid Return Code(261) from Message ID <436>")
    assert all(text.startswith("parseCheckResultOk[") for text in daemon.texts())


def test_a_request_accepted_for_later_is_waited_for_a_second(card, daemon):
    inserted = card(5)
    inserted.rules[SET_OAM_SETS] = lambda asked, request: [response(request, result=9)]
    marking = inserted.wait_for(SET_OAM_SETS)
    following = wait_for(lambda: next((request for request in inserted.requests
                                       if request.time > marking.time), None))
    assert 0.95 <= following.time - marking.time <= 1.5
    assert daemon.texts() == []


def test_a_card_that_supports_no_storage_keeps_nothing(card):
    inserted = card(5)
    inserted.rules[GET_NVS] = lambda asked, request: [response(request, result=1)]
    inserted.wait_for(GET_OAM_SETS)
    assert SET_NVS not in inserted.ids()


def test_a_storage_answer_that_is_too_short_is_asked_again_and_doesnt_end_the_pass(card, daemon):
    inserted = card(5)
    inserted.rules[GET_NVS] = lambda asked, request: [response(request, b"\x01")]
    inserted.wait_for(GET_NVS, 2)
    daemon.wait_for_line("parseGet_NVS_Enabled[")
    assert daemon.count("]: Invalid NVS Enabled payload") >= 1
    assert inserted.ids()[:3] == [GET_OLT_INFORMATION, GET_NVS, GET_OAM_SETS]


def test_an_identity_one_byte_short_identifies_nobody(card, daemon, peer):
    inserted = card(6)
    inserted.rules[GET_OLT_INFORMATION] = lambda asked, request: [
        response(request, olt_information(6)[:-1])]
    line = daemon.wait_for_line("parseGet_OLT_Information[")
    assert line.endswith("]: Impossible to parse offset=90, length=1")
    inserted.wait_for(GET_OLT_INFORMATION, 2)
    assert not any(message["data"]["mac_address"] for message in peer.messages("/olt/new", 6))


def test_a_card_silent_to_the_marker_question_is_asked_for_its_domains(card):
    inserted = card(7)
    inserted.rules[GET_OAM_SETS] = lambda asked, request: []
    inserted.wait_for(GET_DOMAINS, limit=40)
    assert inserted.ids()[:6] == [GET_OLT_INFORMATION, GET_NVS, *[GET_OAM_SETS] * 3, GET_DOMAINS]


def test_a_datagram_of_seven_bytes_rebuilds_the_socket_and_work_goes_on(card, daemon):
    inserted = card(1, marked=True)
    inserted.wait_for(GET_DOMAINS)
    inserted.send_event(b"\x80\x00\x00\x01\x00\x00\x00")
    assert daemon.wait_for_line("Exception: TKMessage[").endswith(
        "]: Impossible to create TKMessage with small size")
    # closed, and made anew a second later
    wait_for(lambda: not is_bound(), 5)
    wait_for(is_bound, 5)
    inserted.wait_for(GET_OAM_SETS, 2)
    assert daemon.is_running()


def test_short_datagrams_of_strangers_do_nothing(card, daemon):
    inserted = card(1, marked=True)
    inserted.wait_for(GET_DOMAINS)
    stranger = Card(9, address="127.0.9.9")
    for size in range(8):
        stranger.socket.sendto(bytes(size), inserted.last_sender)
    stranger.socket.sendto(bytes(1500), inserted.last_sender)
    inserted.wait_for(GET_OAM_SETS, 2)
    assert daemon.texts() == []


def test_events_shorter_than_their_own_header_do_no_harm(card, daemon):
    inserted = card(1, marked=True)
    inserted.wait_for(GET_DOMAINS)
    for event in (0x8000, 0x8001, 0x8019, 0x801A, 0x802B, 0xFFFF):
        inserted.send_event(struct.pack(">HHHH", event, 1, 0, 0))
        inserted.send_event(struct.pack(">HHHHH", event, 1, 0, 0, 0))
    inserted.wait_for(GET_OAM_SETS, 2)
    assert daemon.is_running()


def test_a_dead_card_slows_no_neighbour(daemon, peer):
    dead = Card(1)
    dead.silent = True
    peer.address(1)
    dead.wait_for(GET_OLT_INFORMATION)
    neighbours = [Card(slot, product="3724") for slot in range(2, 9)]
    for slot in range(2, 9):
        peer.address(slot)
    for neighbour in neighbours:
        first = neighbour.wait_for(GET_OLT_INFORMATION, 1)
        tenth = neighbour.wait_for(GET_OLT_INFORMATION, 10)
        # one pass a second, whatever the dead card's exchange takes
        assert 8.5 <= tenth.time - first.time <= 11
    assert len(dead.of(GET_OLT_INFORMATION)) >= 3
