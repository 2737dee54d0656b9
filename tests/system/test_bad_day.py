"""A bad day, from the first cut to the last repair, ends with the database manager knowing what is true.

Two things differ from the morning on purpose, and nothing else does:

- the card that was swapped is known by another MAC address;
- what happened stays in the history, though every ONU is on-line again and no alarm is raised.
"""

from support.product import SCENARIOS, ask, control, inventory, wait_for_agreement

ONUS = 4
STORM = 500
MORNING_CARDS = {(str(slot), f"00:0d:b6:00:00:0{slot}") for slot in range(1, 9)}


def alarms(*words):
    return ask("dbman", "alarm", *words)


def test_a_bad_day_ends_with_the_truth_in_the_inventory(chassis):
    day = (SCENARIOS / "bad-day.jsonl").read_text()
    simulator, _, _ = chassis("1-8", "--onus", str(ONUS), "--reset-time", "1s", "--journal", "300000",
                              "--scenario", str(SCENARIOS / "bad-day.jsonl"), agree=False)
    simulator.wait_for_line("bad-day.jsonl ended: ", 150)
    assert any("bad-day.jsonl ended: " in line and " 0 failed" in line for line in simulator.texts())
    wait_for_agreement(60)
    idle = [fault for fault in range(1, day.count("fault add ") + 1)
            if not control("journal", "--fault", fault, "--last", "1")["entries"]]
    assert day.count("fault add ") >= 7 and idle == [], "each fault has hit something"

    cards, onus = inventory()
    swapped = {("5", "00:0d:b6:00:01:05")}
    assert cards == MORNING_CARDS - {("5", "00:0d:b6:00:00:05")} | swapped
    assert len(onus) == 8 * 2 * ONUS
    known = ask("dbman", "onu", "list")["onus"]
    assert {onu["state"] for onu in known} == {"on-line"} and len(known) == len(onus)
    assert {onu["alarm_message"] for onu in known} == {""}

    assert alarms("list", "--active")["alarms"] == []

    told = alarms("history", "--since", "1h", "--limit", "10000")["events"]
    cut = {event["state"] for event in told if event["slot_id"] == "3"
           and event["alarm"] == "Report Timeout"}
    assert cut == {"raised", "cleared"}
    assert len([event for event in told if event["slot_id"] == "6"]) >= STORM, "the storm, whole"
