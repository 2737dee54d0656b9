"""A card that lies about the others' ONUs and invents alarms, and what the others lose by it.

The card of slot 1 is captured; somebody else sends from its address while it works on.
"""

import json
import sys
from pathlib import Path

import pytest

from support import flood
from support.card import LINK_DISCOVERY, REPORT_ALARM, event, link_information
from support.process import Process
from support.product import ask, control, wait_for_agreement
from support.waiting import wait_for

CAPTURED = "127.0.1.1:14113"
DAEMON = "127.0.0.1:14113"
CLAIMED = "00:0d:b6:02:00:00"  # 2/0/0
# More than dbman has room for in a slot.
INVENTED = 2600
LOSS_OF_SIGNAL = 17


def send(frames, rate, seconds):
    """Sends them over and over from the captured card's address; returns how many in all."""
    Path("/tmp/frames").write_text("\n".join(frame.hex() for frame in frames))
    sender = Process("flood", [sys.executable, flood.__file__, "--to", DAEMON, "--from", CAPTURED, "--rate", rate,
                               "--seconds", seconds, "--file", "/tmp/frames"])
    assert sender.wait_for_end(150) == 0, sender.output()
    return json.loads(sender.texts()[-1])["sent"]


def shown_slot(mac):
    return next(onu["slot_id"] for onu in ask("dbman", "onu", "list")["onus"] if onu["mac_address"] == mac)


@pytest.mark.parametrize("announced", [True, pytest.param(False, marks=pytest.mark.long)])
def test_an_onu_that_another_card_claims_is_right_again_with_its_own_cards_next_report(chassis, announced):
    chassis("1,2", "--onus", "1", "--configured")
    assert shown_slot(CLAIMED) == "2"
    claim = event(LINK_DISCOVERY, link_information(bytes.fromhex(CLAIMED.replace(":", ""))))
    assert send([claim], 10, 0.5) > 0
    wait_for(lambda: shown_slot(CLAIMED) == "1", 30, "the claim is shown")
    if announced:
        ask("dbman", "slot", "announce", "2")
    # 32 passes of two seconds at the most, on a machine that is busy
    wait_for_agreement(120)
    assert shown_slot(CLAIMED) == "2"


def alarms(of, *words):
    """The names and resources of slot 2's alarms, as one of dbman's lists has them."""
    key = {"list": "alarms", "history": "events"}[of]
    return [(row["alarm"], row["resource"]) for row in ask("dbman", "alarm", of, "--slot", "2", *words)[key]]


@pytest.mark.long
@pytest.mark.timeout(400)
def test_invented_alarms_of_a_card_displace_no_alarm_of_another(chassis):
    chassis("1,2", "--onus", "1", "--configured")
    before, later = ("Temperature", "OLT Port: NNI-0"), ("Temperature", "OLT Port: NNI-1")
    control("alarm", "2/nni-0", "Temperature", "raise")
    wait_for(lambda: alarms("list", "--active") == [before], 30, "the first alarm of slot 2 is shown")
    frames = [event(REPORT_ALARM, bytes([3]) + bytes.fromhex(f"000fe900{number:04x}") +
                    bytes([LOSS_OF_SIGNAL, 1, 1, 0])) for number in range(INVENTED)]
    assert send(frames, 600, 5.5) > INVENTED
    wait_for(lambda: ask("dbman", "status")["alarms_displaced"] > 0, 60, "more are invented than there is room for")
    control("alarm", "2/nni-1", "Temperature", "raise")
    wait_for(lambda: alarms("list", "--active") == [before, later], 60,
             lambda: f"both alarms of slot 2 are active: {alarms('list')}")
    assert alarms("history") == [before, later]
    assert ask("dbman", "status")["malformed"] == 0
    assert len(ask("dbman", "alarm", "list", "--slot", "1")["alarms"]) == 2048
