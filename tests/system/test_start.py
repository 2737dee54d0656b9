"""What happens when the daemon starts, and when it can't."""

import socket
import time
from datetime import datetime, timezone
from pathlib import Path

from support.card import GET_DOMAINS, REPORT_ALARM, Card, event
from support.peer import COMMANDS, Peer
from support.waiting import wait_for


def test_first_everything_is_reported_offline_and_then_addresses_are_asked_for(daemon, peer):
    texts = peer.texts()
    assert texts[0] == '{"action":"set","uri":"/olt/set/all/offline","data":{}}'
    assert texts[1] == '{"action":"set","uri":"/onu/set/all/offline","data":{}}'
    asked = '{"action":"set","uri":"/olt/get/all/ip","data":{}}'
    assert texts.count(asked) == 1
    others = [message["uri"] for message in peer.messages() if message["uri"] != "/olt/get/all/ip"][2:]
    assert set(others) <= {"/olt/new"}


def test_each_empty_slot_reports_itself_once_with_its_defaults(daemon, peer):
    for slot in range(1, 9):
        peer.wait_for("/olt/new", slot)
    module = ('{"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",'
              '"ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",'
              '"ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"}')
    for slot in range(1, 9):
        assert peer.texts().count(
            '{"action":"set","uri":"/olt/new","data":{"app_version":"","id":"0","mac_address":"",'
            f'"nvs_enabled":"0","online_status":"0","slot_id":"{slot}","status_reported":"0",'
            f'"module_olt_table":[{module},{module}]}}}}') == 1
    assert len(peer.messages("/olt/new")) == 8


def test_each_empty_slot_reports_its_onus_offline_once_in_the_second_of_its_number(daemon, peer):
    for slot in range(1, 9):
        peer.wait_for("/onu/set/all/offline", slot)
    started = peer.received[0][0]
    for slot in range(1, 9):
        text = ('{"action":"set","uri":"/onu/set/all/offline",'
                f'"data":{{"id":"0","slot_id":"{slot}"}}}}')
        times = [moment for moment, came in peer.received if came == text]
        assert len(times) == 1
        assert slot - 0.2 <= times[0] - started <= slot + 1.5
    # slots 1 to 3 have been probed again by now: an outage is reported once
    wait_for(lambda: time.monotonic() - started > 14)
    for slot in range(1, 9):
        assert len(peer.messages("/onu/set/all/offline", slot)) == 1
    assert [len(peer.messages("/olt/new", slot)) for slot in range(1, 9)] == [1] * 8


def test_without_a_database_manager_the_process_says_so_and_ends_with_status_1(processes):
    process = processes("ponmgrd")
    assert process.wait_for_end() == 1
    fatal = [text for text in process.texts() if text.startswith("Fatal Error - ")]
    assert len(fatal) == 1
    assert fatal[0].startswith("Fatal Error - threadNotifyWorker[76]: ")
    assert "/tmp/pmdbman.ipc" in fatal[0]


def test_without_its_own_socket_the_process_ends_by_the_uncaught_exception(processes, peer):
    Path(COMMANDS).mkdir()
    process = processes("ponmgrd")
    process.wait_for_termination()
    assert process.count("threadWorker[119]: ") == 1


def test_a_socket_left_behind_by_a_killed_daemon_is_taken_over(processes, peer):
    first = processes("ponmgrd")
    peer.wait_for("/olt/get/all/ip")
    peer.send_text("first")
    first.wait_for_line("JSON not parsed: first")
    first.kill()
    assert Path(COMMANDS).is_socket()
    second = processes("ponmgrd")
    wait_for(lambda: len(peer.messages("/olt/get/all/ip")) == 2)
    peer.send_text("second")
    second.wait_for_line("JSON not parsed: second")


def test_the_log_comes_line_by_line_through_a_pipe(daemon, peer):
    # The process is alive and its output a pipe: a line that waits in a buffer would not be here.
    peer.send_text("nonsense")
    daemon.wait_for_line("JSON not parsed: nonsense", 5)
    assert daemon.is_running()


def test_a_peer_that_was_restarted_is_told_the_next_notification(daemon, peer):
    peer.wait_for("/onu/set/all/offline", 1)
    peer.close()
    daemon.wait_for_line("threadNotifyWorker[98]: Exception: threadNotifyWorker[95]: ")
    again = Peer()
    again.wait_for("/onu/set/all/offline", 8)
    assert daemon.is_running()


def test_the_socket_file_lets_only_the_daemons_user_and_group_write(daemon, peer):
    peer.send_text("nonsense")
    daemon.wait_for_line("JSON not parsed")
    assert Path(COMMANDS).stat().st_mode & 0o777 == 0o660


def test_arguments_and_environment_change_nothing(processes, peer, monkeypatch):
    monkeypatch.setenv("TMPDIR", "/nonexistent")
    monkeypatch.setenv("TZ", "NINE-9")  # nine hours east of Greenwich
    monkeypatch.setenv("LANG", "de_DE.UTF-8")
    process = processes("ponmgrd", "--help", "-x", "/nonexistent")
    peer.wait_for("/olt/get/all/ip")
    inserted = Card(3, marked=True)
    peer.address(3)
    inserted.wait_for(GET_DOMAINS)
    inserted.send_event(event(REPORT_ALARM, bytes.fromhex("05" "000db6000003" "0002" "11" "01" "01" "00")))
    row, = peer.wait_for("/olt/alarm/new")["alarm_list"]
    told = datetime.strptime(row["datetime"], "%d/%m/%Y %H:%M:%S").replace(tzinfo=timezone.utc)
    assert abs((datetime.now(timezone.utc) - told).total_seconds()) < 60, "times are in UTC"
    assert process.is_running()
    assert process.texts() == []


def test_nobody_listens_on_the_cards_port_before_an_address_is_given(daemon, peer):
    peer.wait_for("/onu/set/all/offline", 2)
    probe = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    probe.bind(("127.0.0.1", 14113))  # would fail if the daemon had it


def test_the_loader_reads_the_environment_that_the_daemon_was_started_with(processes, peer, monkeypatch):
    # a library that the daemon has no use for
    monkeypatch.setenv("LD_PRELOAD", "libsqlite3.so.0")
    daemon = processes("ponmgrd")
    peer.wait_for("/olt/get/all/ip")
    assert "libsqlite3.so.0" in Path(f"/proc/{daemon.pid}/maps").read_text()
