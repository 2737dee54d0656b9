"""The daemon and faults on the wire: every kind of fault is put between it and a simulated card.

Each test shows the fault in the simulator's journal, and what the daemon makes of it.
"""

import ipaddress
import json
import re
import struct
from pathlib import Path

import pytest

from support.product import control
from support.waiting import wait_for

SLOT = 3
INFORMATION = "Get OLT Information"
FIRST_EVENT = 0x8000
ANOTHERS_ANSWER = [("wrong-ctag", "ctag"), ("wrong-id", "id")]


def add(kind, *options):
    """Adds a fault to the card and returns its id."""
    return control("fault", "add", kind, "--card", SLOT, *options)["fault"]


def hits(fault):
    """What the fault has hit so far: entries of the journal."""
    return control("journal", "--fault", fault, "--last", 10000)["entries"]


def journal(name, direction=None):
    """All datagrams with this name, and of one direction."""
    return [entry for entry in control("journal", "--last", 10000)["entries"]
            if entry["name"] == name and direction in (None, entry["direction"])]


def wait_for_hits(fault, count=1, limit=30.0):
    wait_for(lambda: len(hits(fault)) >= count, limit, lambda: f"{count} hits; there are {hits(fault)}")
    return hits(fault)


@pytest.fixture
def chassis(processes):
    """Starts a chassis with one card; the daemon learns its address later."""

    def start(*options):
        process = processes("chassis-sim", "--slots", SLOT, "--seed", "1", "--onus", "1", *options)
        process.wait_for_line("chassis-sim ready")

    return start


@pytest.fixture
def factory(chassis, daemon):
    """A card as the factory makes it, that comes up fast."""
    chassis("--reset-time", "500ms")


@pytest.fixture
def configured(chassis, daemon):
    """A card that the daemon knows and that is in service."""
    chassis("--configured")


def wait_in_service():
    control("wait", "in-service", "--timeout", "120s")


def wait_identified(peer):
    return peer.wait_for("/olt/new", SLOT, matching=lambda data: data["mac_address"])


def seconds_between(earlier, later):
    return (later["time_ns"] - earlier["time_ns"]) / 1e9


def assert_asked_again_with_the_same_tag(answered_in_vain):
    """The first request was repeated when its time was up, and then answered."""
    first, second = journal(INFORMATION, "in")[:2]
    assert first["ctag"] == second["ctag"]
    assert 3.8 <= seconds_between(first, second) <= 5.3
    assert answered_in_vain["time_ns"] < second["time_ns"]


def test_a_dropped_answer_is_asked_for_again(configured, daemon, peer):
    fault = add("drop", "--request", INFORMATION, "--count", "1")
    peer.address(SLOT)
    wait_identified(peer)
    hit, = hits(fault)
    assert (hit["direction"], hit["dropped"]) == ("out", "dropped by a fault")
    assert_asked_again_with_the_same_tag(hit)
    assert daemon.texts() == []


def test_a_dropped_request_is_sent_again(configured, daemon, peer):
    fault = add("drop", "--request", 7, "--direction", "in", "--count", "1")
    peer.address(SLOT)
    wait_identified(peer)
    hit, = hits(fault)
    assert (hit["direction"], hit["dropped"]) == ("in", "dropped by a fault")
    assert len(journal(INFORMATION, "out")) == 1
    assert_asked_again_with_the_same_tag(hit)


def test_a_delayed_answer_is_waited_for(configured, daemon, peer):
    fault = add("delay", "--time", "1500ms", "--request", INFORMATION)
    peer.address(SLOT)
    wait_identified(peer)
    request, = journal(INFORMATION, "in")
    answer, = hits(fault)
    assert 1.5 <= seconds_between(request, answer) <= 2.5
    assert daemon.texts() == []


def test_answers_and_requests_that_come_twice_do_no_harm(factory, daemon, peer):
    """Answers are told apart by their order: one that is repeated before the daemon has gone on can hide
    another, until that is asked for again."""
    requests = add("duplicate", "--direction", "in", "--probability", "0.5")
    answers = add("duplicate", "--copies", "2", "--count", "30")
    peer.address(SLOT)
    wait_in_service()
    assert len(hits(answers)) == 30 * 3
    twice = hits(requests)[0]
    asked, answered = ([entry for entry in journal(twice["name"], way) if entry["ctag"] == twice["ctag"]]
                       for way in ("in", "out"))
    came = [2 if requests in request["faults"] else 1 for request in asked]
    assert came[0] == 2 and len(answered) == 3 * sum(came), "each that came is answered thrice"
    assert "Impossible" not in daemon.output()


def test_an_event_that_overtakes_an_answer_is_kept_and_reported(configured, daemon, peer):
    fault = add("reorder", "--limit", "4s", "--request", INFORMATION)
    peer.address(SLOT)
    wait_for(lambda: journal(INFORMATION, "in"))
    control("alarm", f"{SLOT}/nni-0", "Temperature", "raise")
    answer, = wait_for_hits(fault)
    alarm, = journal("Report Alarm")
    assert alarm["number"] + 1 == answer["number"]
    rows = peer.wait_for("/olt/alarm/new")["alarm_list"]
    assert [row["alarm"] for row in rows] == ["Temperature"]
    wait_identified(peer)


def test_a_truncated_answer_is_printed_and_asked_for_anew(configured, daemon, peer):
    fault = add("truncate", "--bytes", "1", "--request", INFORMATION)
    peer.address(SLOT)
    line = daemon.wait_for_line("parseGet_OLT_Information[")
    assert line.endswith("]: Impossible to parse offset=90, length=1")
    hit = hits(fault)[0]
    assert hit["card_hex"][:-2] == hit["hex"]
    control("fault", "remove", fault)
    wait_identified(peer)


def test_a_flipped_bit_is_reported_as_it_comes(configured, daemon, peer):
    # the lowest bit of the firmware version, which the card says is 0100
    fault = add("flip-bit", "--bit", 24 * 8 + 7, "--request", INFORMATION, "--count", "1")
    peer.address(SLOT)
    assert wait_identified(peer)["app_version"] == "0101"
    hit, = hits(fault)
    before, after = bytes.fromhex(hit["card_hex"]), bytes.fromhex(hit["hex"])
    assert [a ^ b for a, b in zip(before, after)] == [0] * 24 + [1] + [0] * (len(before) - 25)


@pytest.mark.parametrize("kind, field", ANOTHERS_ANSWER)
def test_an_answer_to_nothing_that_was_asked_is_no_answer(configured, daemon, peer, kind, field):
    fault = add(kind, "--request", INFORMATION, "--count", "1")
    peer.address(SLOT)
    wait_identified(peer)
    hit, = hits(fault)
    assert hit[field] == journal(INFORMATION, "in")[0][field] + 1
    assert_asked_again_with_the_same_tag(hit)
    assert daemon.texts() == []


def test_a_request_with_a_wrong_length_is_refused_by_the_card(factory, daemon, peer):
    fault = add("wrong-length", "--direction", "in", "--request", "Set OAM Extension Set Support")
    peer.address(SLOT)
    daemon.wait_for_line("]: Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <436>")
    assert hits(fault)
    control("fault", "remove", fault)
    wait_in_service()


def test_an_answer_with_a_wrong_length_is_printed_and_asked_for_anew(configured, daemon, peer):
    fault = add("wrong-length", "--length", "3", "--request", "Get OLT NVS Enabled", "--count", "1")
    peer.address(SLOT)
    line = daemon.wait_for_line("parseGet_NVS_Enabled[")
    assert "]: Invalid NVS Enabled payload" in line
    hit, = hits(fault)
    assert hit["hex"][8:12] == "0003"
    wait_for(lambda: len(journal("Get OLT NVS Enabled", "out")) >= 2)
    wait_in_service()


@pytest.mark.parametrize("code, text", [
    (1, "]: Unsupported Message ID <436>"),
    (3, "]: Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <436>"),
    (0x105, "]: Invalid Return Code(261) from Message ID <436>"),
])
def test_a_result_is_printed_and_the_card_comes_up_without_it(factory, daemon, peer, code, text):
    fault = add("result", "--code", code, "--request", 436, "--count", "1")
    peer.address(SLOT)
    daemon.wait_for_line(text)
    hit, = hits(fault)
    assert hit["hex"] == f"01b4{hit['ctag']:04x}0002{code:04x}"
    wait_in_service()


def test_answers_later_than_the_whole_exchange_are_no_answers(configured, daemon, peer):
    fault = add("late", "--request", INFORMATION, "--count", "3")
    peer.address(SLOT)
    daemon.wait_for_line("]: Impossible to send messages to card", 25)
    wait_identified(peer)
    late = wait_for_hits(fault)[0]
    requests = journal(INFORMATION, "in")
    assert seconds_between(requests[0], late) >= 15.9
    assert [request["ctag"] - requests[0]["ctag"] for request in requests[:4]] == [0, 0, 0, 1]


def test_a_mute_card_is_asked_again_and_its_events_are_heard(configured, daemon, peer):
    peer.address(SLOT)
    wait_identified(peer)
    fault = add("mute")
    hit = wait_for_hits(fault)[0]
    assert hit["direction"] == "out" and hit["dropped"] == "dropped by a fault"
    control("alarm", f"{SLOT}/nni-1", "Temperature", "raise")
    assert [row["state"] for row in control("fault", "list")["faults"]] == ["active"]
    assert all(entry["id"] < FIRST_EVENT for entry in hits(fault))
    assert journal("Report Alarm")[-1]["dropped"] is None
    wait_for_hits(fault, 2)
    control("fault", "remove", fault)
    # told when the pass is over
    rows = peer.wait_for("/olt/alarm/new", limit=90)["alarm_list"]
    assert (rows[0]["alarm"], rows[0]["label"]) == ("Temperature", "OLT Port: NNI-1")
    wait_for(lambda: journal(hit["name"], "out")[-1]["dropped"] is None, 60)
    asked = [entry for entry in journal(hit["name"], "in") if entry["ctag"] == hit["ctag"]]
    assert len(asked) >= 2 and 3.8 <= seconds_between(*asked[:2]) <= 5.3


def test_every_alarm_of_a_burst_is_reported_in_its_order(configured, daemon, peer):
    peer.address(SLOT)
    wait_in_service()
    fault = add("event-burst", "--rate", "500", "--count", "200", "--alarm", "Temperature",
                "--target", f"{SLOT}/nni-0")

    def rows():
        return [row for message in peer.messages("/olt/alarm/new")
                for row in message["data"]["alarm_list"]]

    wait_for(lambda: len(rows()) >= 200)
    assert [row["state"] for row in rows()] == ["On", "Off"] * 100
    assert {row["label"] for row in rows()} == {"OLT Port: NNI-0"}
    assert len(hits(fault)) == 200
    assert control("list")["cards"][0]["state"] == "in-service"


def test_what_a_card_only_pretends_to_take_is_missing_on_it(factory, daemon, peer):
    fault = add("pretend", "--request", "Set EPON Loop Timing")
    peer.address(SLOT)
    wait_in_service()
    hit = hits(fault)[0]
    assert (hit["direction"], hit["dropped"]) == ("in", None)
    answer = next(entry for entry in journal(hit["name"], "out") if entry["ctag"] == hit["ctag"])
    assert answer["hex"] == f"0167{hit['ctag']:04x}00020000"
    accepted = {row["name"] for row in control("card", SLOT, "get")["accepted"]}
    assert "Set EPON Loop Timing" not in accepted and "Set EPON Sync Time" in accepted
    assert "from Message ID <359>" not in daemon.output()


def test_every_kind_of_fault_has_a_test_here(chassis):
    chassis()
    played = set(re.findall(r'\badd\("([a-z-]+)"', Path(__file__).read_text()))
    played |= {kind for kind, _ in ANOTHERS_ANSWER}
    kinds = {row["kind"] for row in control("fault", "kinds")["kinds"]}
    assert len(kinds) > 10 and kinds == played


def test_an_answer_from_another_port_is_no_answer(configured, daemon, peer):
    fault = add("wrong-port", "--request", INFORMATION, "--count", "1")
    peer.address(SLOT)
    wait_identified(peer)
    hit, = hits(fault)
    assert hit["local"] == f"127.0.1.{SLOT}:14114"
    assert_asked_again_with_the_same_tag(hit)
    assert daemon.texts() == []


def test_a_card_comes_up_behind_its_own_garbage(factory, daemon, peer):
    peer.address(SLOT)
    wait_identified(peer)
    fault = add("garbage", "--rate", "20", "--count", "60", "--size", "40")
    wait_for_hits(fault, 60)
    assert any(len(hit["hex"]) < 16 for hit in hits(fault))
    # one of less than a header rebuilds the daemon's socket
    daemon.wait_for_line("]: Impossible to create TKMessage with small size")
    wait_in_service()


def test_garbage_of_a_stranger_is_ignored(factory, daemon, peer):
    peer.address(SLOT)
    wait_identified(peer)
    fault = add("garbage", "--stranger", "--rate", "100", "--count", "200")
    wait_in_service()
    hit = wait_for_hits(fault, 200)[0]
    assert hit["local"] == "127.0.1.0:14113"
    assert "TKMessage" not in daemon.output()


def test_a_card_behind_a_bad_wire_comes_up(factory, daemon, peer):
    faults = [add("delay", "--time", "30ms", "--probability", "0.2", "--direction", "all"),
              add("duplicate", "--probability", "0.2", "--direction", "all"),
              add("reorder", "--limit", "20ms", "--probability", "0.2", "--direction", "all")]
    peer.address(SLOT)
    wait_in_service()
    assert all(hits(fault) for fault in faults)


def checksum(data):
    """That of the Internet's headers; 0 over one that is right."""
    data += bytes(len(data) % 2)
    total = sum(struct.unpack(f">{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def packets(path):
    """The UDP datagrams of a capture of raw IP packets: time, ends and data; checks every header."""
    content = Path(path).read_bytes()
    order = {b"\xa1\xb2\xc3\xd4": ">", b"\xd4\xc3\xb2\xa1": "<"}[content[:4]]
    major, minor, _, _, longest, link = struct.unpack(order + "HHIIII", content[4:24])
    assert (major, minor, longest, link) == (2, 4, 65535, 101)
    rest = content[24:]
    while rest:
        seconds, micros, kept, size = struct.unpack(order + "IIII", rest[:16])
        packet, rest = rest[16:16 + kept], rest[16 + kept:]
        assert kept == size == len(packet) and micros < 1_000_000
        assert packet[0] == 0x45 and packet[9] == 17 and checksum(packet[:20]) == 0
        assert struct.unpack(">H", packet[2:4])[0] == size
        source_port, target_port, length = struct.unpack(">HHH", packet[20:26])
        assert length == size - 20 and packet[26:28] != b"\x00\x00"
        assert checksum(packet[12:20] + struct.pack(">HH", 17, length) + packet[20:]) == 0
        yield (seconds + micros / 1e6, f"{ipaddress.ip_address(packet[12:16])}:{source_port}",
               f"{ipaddress.ip_address(packet[16:20])}:{target_port}", packet[28:])


def test_the_capture_and_the_journal_file_hold_what_the_journal_holds(chassis, daemon, peer):
    chassis("--pcap", "/tmp/wire.pcap", "--journal-file", "/tmp/wire.jsonl", "--reset-time", "500ms",
            "--latency", "1ms", "--jitter", "5ms")
    dropped = add("drop", "--request", INFORMATION, "--count", "1")
    add("wrong-port", "--request", INFORMATION, "--count", "1")
    peer.address(SLOT)
    wait_identified(peer)
    wait_in_service()
    control("card", SLOT, "mute")
    entries = control("journal", "--last", "10000")["entries"]
    written = [json.loads(line) for line in Path("/tmp/wire.jsonl").read_text().splitlines()]
    assert written[:len(entries)] == entries
    on_wire = [entry for entry in entries if entry["faults"] != [dropped]]
    assert len(entries) - len(on_wire) == 1
    for entry, (_, source, target, data) in zip(on_wire, packets("/tmp/wire.pcap")):
        ends = (entry["peer"], entry["local"])
        assert (source, target) == (ends if entry["direction"] == "in" else ends[::-1])
        assert data.hex() == entry["hex"]
    assert len(list(packets("/tmp/wire.pcap"))) >= len(on_wire) > 50


def test_the_same_seed_makes_the_same_garbage(chassis, processes, daemon, peer):
    chassis()
    peer.address(SLOT)
    wait_identified(peer)
    first = add("garbage", "--stranger", "--rate", "1000", "--count", "10")
    frames = [hit["hex"] for hit in wait_for_hits(first, 10)]
    # what a second simulator with the same seed sends
    processes("chassis-sim", "--slots", SLOT, "--seed", "1", "--base", "127.0.7.0", "--control",
              "/tmp/second.ctl").wait_for_line("chassis-sim ready")
    peer.address(SLOT, ip=f"127.0.7.{SLOT}")
    second = ("--control", "/tmp/second.ctl")
    wait_for(lambda: control("journal", *second)["entries"])
    control("fault", "add", "garbage", "--stranger", "--rate", "1000", "--count", "10", *second)
    wait_for(lambda: len(control("journal", "--fault", "1", *second)["entries"]) == 10)
    assert [hit["hex"] for hit in control("journal", "--fault", "1", *second)["entries"]] == frames
