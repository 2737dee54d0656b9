"""What the tests of faults make of the simulator's journal, with journals made up by hand."""

import pytest

from support.restarted import disturbing
from support.vlan_commands import commands_told, complaints_about

SECOND = 1_000_000_000
PRETEND = 9


def request(vlan, ctag, second, **other):
    return {"id": 273, "name": "ONU port VLAN", "ctag": ctag, "direction": "in", "time_ns": second * SECOND,
            "hex": f"0111{ctag:04x}0013" + "00" * 17 + f"{vlan:04x}", "card_hex": None, "faults": [],
            "dropped": None, "local": "127.0.1.1:14113", **other}


def answer(ctag, second, result=0, **other):
    return {"id": 273, "name": "ONU port VLAN", "ctag": ctag, "direction": "out", "time_ns": second * SECOND,
            "hex": f"0111{ctag:04x}0002{result:04x}", "card_hex": None, "faults": [], "dropped": None,
            "local": "127.0.1.1:14113", **other}


def test_commands_that_are_answered_at_once_are_well():
    told = commands_told([request(101, 7, 0), answer(7, 0), request(102, 8, 1), answer(8, 1)])
    assert complaints_about(told, [101, 102]) == []
    assert [command.outcome() for command in told] == ["done", "done"]
    assert all(command.was_carried_out(PRETEND) for command in told)


def test_a_command_that_never_came_is_noticed():
    told = commands_told([request(101, 7, 0), answer(7, 0)])
    assert complaints_about(told, [101, 102]) == ["the card was told [101], not [101, 102]"]


def test_commands_in_another_order_are_noticed():
    told = commands_told([request(102, 7, 0), answer(7, 0), request(101, 8, 1), answer(8, 1)])
    assert complaints_about(told, [101, 102]) == ["the card was told [102, 101], not [101, 102]"]


def test_a_command_that_comes_again_behind_the_next_is_noticed():
    told = commands_told([request(101, 7, 0), answer(7, 0), request(102, 8, 1), answer(8, 1),
                          request(101, 9, 2), answer(9, 2)])
    assert complaints_about(told, [101, 102]) == ["the card was told [101, 102, 101], not [101, 102]"]


def test_three_tries_without_an_answer_are_all_there_are():
    told = commands_told([request(101, 7, second, dropped="drop") for second in (0, 5, 10)])
    assert complaints_about(told, [101]) == []
    assert told[0].outcome() == "unanswered" and not told[0].was_carried_out(PRETEND)


def test_a_command_that_is_given_up_early_is_noticed():
    told = commands_told([request(101, 7, 0), request(101, 7, 5), answer(7, 6, dropped="drop")])
    assert complaints_about(told, [101]) == ["VLAN 101 was given up after 2 tries without an answer"]


def test_a_fourth_try_is_noticed():
    told = commands_told([request(101, 7, second) for second in (0, 5, 10, 15)])
    assert complaints_about(told, [101]) == ["VLAN 101 was tried 4 times"]


def test_an_answer_behind_the_wait_or_from_another_port_is_none():
    told = commands_told([request(101, 7, 0), answer(7, 1, local="127.0.1.1:14114"), answer(7, 16)])
    assert told[0].outcome() == "unanswered"


def test_a_refusal_is_told_from_an_answer_that_asks_for_patience():
    outcomes = [commands_told([request(101, 7, 0), answer(7, 0, result)])[0].outcome()
                for result in (0, 2, 4, 8, 1, 3, 7)]
    assert outcomes == ["done"] * 4 + ["refused"] * 3


def test_what_is_altered_dropped_or_only_pretended_is_not_carried_out():
    for other in ({"card_hex": "00"}, {"dropped": "drop"}, {"faults": [PRETEND]}):
        told = commands_told([request(101, 7, 0, **other)])
        assert not told[0].was_carried_out(PRETEND)


def datagram(name, payload="", purpose="sets", direction="in", ctag=0):
    return {"name": name, "hex": "0000" "0000" "0000" + payload, "purpose": purpose, "direction": direction,
            "ctag": ctag}


CLEAR, DELETE = "Clear All Provisioning for Logical Link", "Delete Queue SLA"
ABSENT, PATHS = {"00:0d:b6:01:00:01"}, [{"id": 9, "usage_count": 2}, {"id": 20, "usage_count": 3},
                                        {"id": 0x2000, "usage_count": 0}]
SERVED = {"mac": "00:0d:b6:01:00:00", "queues": {"downstream": {"endpoint": 0x4000}, "upstream": {"endpoint": 0x4001},
                                                 "multicast": {"endpoint": 0x4002}}}
SERVICE = "00000000ffffffffff000f424000c8020010"
PROVISIONED = [("Enable Link", "000db6010000"), ("Set Link SLA", f"000db6010000{SERVICE}01020000000000000000"),
               ("Set Queue SLA", f"40000000{SERVICE}"), ("Set Queue SLA", f"40010000{SERVICE}"),
               ("Set Queue SLA", f"40020000{SERVICE}"), ("CTC Set Ethernet Port", "000db601000080010100000101010101")]
PROVISIONING = [datagram(name, payload, ctag=tag) for tag, (name, payload) in enumerate(PROVISIONED)]


@pytest.mark.parametrize("entry", [
    datagram("Get All Paths", purpose="asks"), *PROVISIONING, datagram(CLEAR, "000db6010001"),
    datagram(DELETE, "00090000"), datagram(DELETE, "000a0000"), datagram("Enable OLT", direction="out"),
])
def test_a_card_in_service_may_be_asked_and_told_this(entry):
    assert disturbing([entry], [SERVED], ABSENT, PATHS) == []


def test_what_is_tried_again_is_told_once():
    assert disturbing(3 * PROVISIONING, [SERVED], ABSENT, PATHS) == []


def test_an_onu_is_provisioned_once_more_when_its_card_discovers_it():
    again = [{**entry, "ctag": 100 + entry["ctag"]} for entry in PROVISIONING]
    discovered = datagram("Link Discovery", "00000001000db6010000", None, "out")
    another = datagram("Link Discovery", "00000001000db6010001", None, "out")
    assert disturbing([discovered, *PROVISIONING, *again], [SERVED], ABSENT, PATHS) == []
    assert disturbing([another, *PROVISIONING, *again], [SERVED], ABSENT, PATHS) == PROVISIONED


@pytest.mark.parametrize("name, payload", [*PROVISIONED, (CLEAR, "000db6010001"), (DELETE, "00090000")])
def test_what_is_told_a_second_time_is_noticed(name, payload):
    entries = [datagram(name, payload, ctag=1), datagram(name, payload, ctag=2)]
    assert disturbing(entries, [SERVED], ABSENT, PATHS) == [(name, payload)]


@pytest.mark.parametrize("place", range(len(PROVISIONED)))
def test_every_other_value_than_the_one_that_is_set_already_is_noticed(place):
    name, payload = PROVISIONED[place]
    changed = [payload[:digit] + ("e" if payload[digit] != "e" else "0") + payload[digit + 1:]
               for digit in range(len(payload))]
    for other in [*changed, payload[:-2], payload + "00", ""]:
        assert disturbing([datagram(name, other)], [SERVED], ABSENT, PATHS) == [(name, other)]


@pytest.mark.parametrize("name, payload, purpose", [
    ("Enable OLT", "", "sets"), ("Set OLT rule", "05", "sets"), ("Set Domain Rules", "", "sets"),
    ("Set OLT Bridging Configuration", "", "sets"), (CLEAR, "000db6010000", "sets"), (DELETE, "00140000", "sets"),
    (DELETE, "20000000", "sets"), ("unknown", "", None), ("Enable Link", "000db6010001", "sets"),
])
def test_whatever_else_a_card_is_told_is_noticed(name, payload, purpose):
    entries = [datagram(CLEAR, "000db6010001"), datagram(name, payload, purpose)]
    assert disturbing(entries, [SERVED], ABSENT, PATHS) == [(name, payload)]


@pytest.mark.parametrize("name, payload", PROVISIONED)
def test_a_card_that_was_only_marked_is_told_nothing_of_onus(name, payload):
    assert disturbing([datagram(name, payload)], [], ABSENT, PATHS) == [(name, payload)]
