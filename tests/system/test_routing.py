"""The road of a command from the database manager to its slot, and what is said of bad ones."""

import json

from support.card import ENABLE_OLT, GET_DOMAINS, GET_OLT_INFORMATION, Card


def mark(daemon, peer):
    """A message that prints a line: whatever was sent before it has been handled when it is there."""
    text = f"mark {len(daemon.texts())}"
    peer.send_text(text)
    daemon.wait_for_line(f"JSON not parsed: {text}")


def test_text_that_is_no_json_is_printed_and_the_next_message_is_handled(daemon, peer):
    peer.send_text("this is {not json")
    line = daemon.wait_for_line("threadWorker[136]: Exception: parseRequest[")
    assert line.endswith("]: JSON not parsed: this is {not json")
    peer.send_text('{"action":"set","uri":"/slot/reset"}')
    assert daemon.wait_for_line("getObjectValue[").endswith("]: Key 'data' not found")


def test_an_empty_message_is_no_json(daemon, peer):
    peer.send_text("")
    assert daemon.wait_for_line("threadWorker[136]").endswith("]: JSON not parsed: ")


def test_a_message_without_action_or_uri_names_the_missing_key(daemon, peer):
    peer.send_text('{"uri":"/slot/reset","data":{}}')
    daemon.wait_for_line("Key 'action' not found")
    peer.send_text('{"action":"set","data":{}}')
    daemon.wait_for_line("Key 'uri' not found")
    peer.send_text('{"action":"set","uri":7,"data":{}}')
    daemon.wait_for_line("Key 'uri' not found")
    assert all(text.startswith("threadWorker[136]: Exception: ") for text in daemon.texts())


def test_an_action_other_than_set_has_no_data(daemon, peer):
    peer.send_text('{"action":"get","uri":"/slot/reset","data":{"slot_id":"1"}}')
    assert daemon.wait_for_line("null") == \
        "handlerApiRequest[102]: Exception: parseTask[43]: Data on task can't be null"


def test_a_slot_that_is_no_number_reaches_the_receive_thread(daemon, peer):
    for data in ({}, {"slot_id": ""}, {"slot_id": "x1"}, {"slot_id": 3},
                 {"slot_id": "99999999999999999999"}):
        before = daemon.count("threadWorker[138]: Unexpected exception")
        peer.send_text(json.dumps({"action": "set", "uri": "/slot/enable", "data": data}))
        mark(daemon, peer)
        assert daemon.count("threadWorker[138]: Unexpected exception") == before + 1, data


def test_a_slot_outside_the_chassis_is_refused(daemon, peer):
    for slot in ("0", "9", "-1", "2147483647"):
        peer.command("/slot/enable", slot)
        daemon.wait_for_line(f"Slot ({slot}) not found")
    assert all(text.startswith("handlerApiRequest[102]: Exception: ") for text in daemon.texts())


def test_the_bare_onu_uri_wants_a_mac_address(daemon, peer):
    peer.command("/slot/onu/", 3)
    assert daemon.wait_for_line("MAC") == ("handlerApiRequest[102]: Exception: "
                                           "handlerApiRequest[92]: MAC Address not set for task "
                                           "/slot/onu")


def test_longer_onu_uris_pass_without_a_mac_address(daemon, peer):
    for uri in ("/slot/onu/remove", "/slot/onu/reset", "/slot/onu/set/vlanid", "/slot/onu"):
        peer.command(uri, 3)
    mark(daemon, peer)
    assert daemon.count("MAC Address") == 0


def test_an_unknown_task_vanishes_silently(daemon, peer):
    peer.command("/slot/unknown", 3)
    peer.command("/slot/enable/", 3)
    peer.command("/SLOT/ENABLE", 3)
    # a command of the same slot that does print a line: those before it have been carried out
    peer.command("/slot/enable", 3)
    daemon.wait_for_line("Client ip address empty to slot 3")
    assert len(daemon.texts()) == 1


def test_a_slot_number_is_read_as_far_as_it_goes(daemon, peer):
    card = Card(3)
    peer.command("/olt/src_ip", " 3abc", ip_address="127.0.0.1")
    peer.command("/olt/ip", "+3", ip_address="127.0.1.3")
    card.wait_for(GET_OLT_INFORMATION)
    assert peer.wait_for("/olt/new", 3, matching=lambda data: data["mac_address"])


def test_envelope_keys_are_found_whatever_their_case_and_data_keys_are_exact(daemon, peer):
    card = Card(5, marked=True)  # its bring-up sends no Enable OLT
    peer.address(5)
    card.wait_for(GET_DOMAINS)
    peer.send_text('{"ACTION":"set","Uri":"/slot/enable","DATA":{"slot_id":"5"}}')
    card.wait_for(ENABLE_OLT)
    peer.send_text('{"action":"set","uri":"/slot/enable","data":{"Slot_Id":"5"}}')
    daemon.wait_for_line("threadWorker[138]: Unexpected exception")


def test_trailing_bytes_and_foreign_data_keys_are_ignored(daemon, peer):
    card = Card(4)
    peer.command("/olt/src_ip", 4, ip_address="127.0.0.1")
    peer.send_text(b'{"action":"set","uri":"/olt/ip","data":{"slot_id":"4","id":"9","colour":"red",'
                   b'"ip_address":"127.0.1.4","nested":{"ip_address":"127.0.1.5"}}} and more')
    card.wait_for(GET_OLT_INFORMATION)


def test_a_deeply_nested_message_and_a_huge_one_harm_nothing(daemon, peer):
    peer.send_text(b'{"action":' + b"[" * 50_000)
    daemon.wait_for_line("JSON not parsed: ")
    peer.send_text(json.dumps({"action": "set", "uri": "/slot/none",
                               "data": {"slot_id": "1", "mac_address": "m" * 150_000}}))
    mark(daemon, peer)
    assert daemon.is_running()
