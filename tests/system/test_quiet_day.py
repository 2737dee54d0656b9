"""A quiet day: readings drift, single ONUs go and come back, a few alarms. In the evening the database
manager knows what is true, and no alarm is left."""

import pytest

from support.product import SCENARIOS, ask, inventory, wait_for_agreement

ONUS = 4
ALARMED = {("1", "OLT Port: NNI-0"), ("6", "ONU Link: 00:0d:b6:06:00:02")}


# At full length it lasts ten minutes.
@pytest.mark.parametrize("speed", ["40", pytest.param("1", marks=[pytest.mark.long,
                                                                  pytest.mark.timeout(1000)])])
def test_a_quiet_day_ends_with_the_truth_in_the_inventory_and_no_alarm(chassis, speed):
    simulator, _, _ = chassis("1-8", "--onus", str(ONUS), "--configured", "--onu-reset-time", "1s",
                              "--scenario", str(SCENARIOS / "quiet-day.jsonl"), "--scenario-speed",
                              speed, agree=False)
    ended = simulator.wait_for_line("quiet-day.jsonl ended: ", 120 + 600 / int(speed))
    assert " 0 failed" in ended
    wait_for_agreement(60)
    known = ask("dbman", "onu", "list")["onus"]
    assert len(known) == len(inventory()[1]) == 8 * 2 * ONUS
    assert {onu["alarm_message"] for onu in known} == {""}

    assert ask("dbman", "alarm", "list", "--active")["alarms"] == []
    told = ask("dbman", "alarm", "history", "--since", "1h", "--limit", "10000")["events"]
    for slot, resource in ALARMED:
        states = [event["state"] for event in told if event["slot_id"] == slot
                  and event["resource"] == resource and event["alarm"] == "Loss of Signal"]
        assert states == ["raised", "cleared"], (slot, resource)
