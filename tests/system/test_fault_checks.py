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


def datagram(name, payload="", purpose="sets", direction="in"):
    return {"name": name, "hex": "0000" "0000" "0000" + payload, "purpose": purpose, "direction": direction}


CLEAR, DELETE = "Clear All Provisioning for Logical Link", "Delete Queue SLA"
ABSENT, PATHS = {"00:0d:b6:01:00:01"}, [{"id": 9, "usage_count": 2}, {"id": 20, "usage_count": 3},
                                        {"id": 0x2000, "usage_count": 0}]


@pytest.mark.parametrize("entry", [
    datagram("Get All Paths", purpose="asks"), datagram("Enable Link"), datagram("Set Queue SLA"),
    datagram(CLEAR, "000db6010001"), datagram(DELETE, "00090000"), datagram(DELETE, "000a0000"),
    datagram("Enable OLT", direction="out"),
])
def test_a_card_in_service_may_be_asked_and_told_this(entry):
    assert disturbing([entry], True, ABSENT, PATHS) == []


@pytest.mark.parametrize("in_service, name, payload, purpose", [
    (True, "Enable OLT", "", "sets"), (True, "Set OLT rule", "05", "sets"), (True, "Set Domain Rules", "", "sets"),
    (True, "Set OLT Bridging Configuration", "", "sets"), (True, CLEAR, "000db6010002", "sets"),
    (True, DELETE, "00140000", "sets"), (True, DELETE, "20000000", "sets"), (True, "unknown", "", None),
    (False, "Enable Link", "", "sets"),
])
def test_whatever_else_a_card_is_told_is_noticed(in_service, name, payload, purpose):
    entries = [datagram(CLEAR, "000db6010001"), datagram(name, payload, purpose)]
    assert disturbing(entries, in_service, ABSENT, PATHS) == [(name, payload)]
