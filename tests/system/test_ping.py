"""The ping loop: a card that goes away is forgotten once, and found again when it is back."""

import os
from pathlib import Path

from support import namespace
from support.card import GET_DOMAINS, GET_OLT_INFORMATION
from support.waiting import wait_for


def last_status(peer, slot):
    reports = peer.messages("/olt/new", slot)
    return reports[-1]["data"]["online_status"] if reports else None


def test_a_card_lost_to_ping_is_forgotten_and_found_again(card, peer):
    inserted = card(1, marked=True)
    # before its address came the slot was unreachable: only a probe that succeeds arms the reset
    wait_for(lambda: namespace.pings_answered() > 0, 40)
    offline = len(peer.messages("/onu/set/all/offline", 1))
    namespace.answer_ping(False)
    wait_for(lambda: len(peer.messages("/onu/set/all/offline", 1)) == offline + 1, 40)
    # the card still answers the protocol here, so it is identified again at once: its on-line
    # status is the protocol's until the next probe
    inserted.wait_for(GET_OLT_INFORMATION, 2)
    wait_for(lambda: last_status(peer, 1) == "1")
    wait_for(lambda: last_status(peer, 1) == "0", 40)
    # forgotten once an outage, however long it lasts
    assert len(peer.messages("/onu/set/all/offline", 1)) == offline + 1
    namespace.answer_ping(True)
    wait_for(lambda: last_status(peer, 1) == "1", 40)
    namespace.answer_ping(False)
    wait_for(lambda: len(peer.messages("/onu/set/all/offline", 1)) == offline + 2, 40)


def test_a_card_that_answers_ping_is_never_reset(card, peer):
    inserted = card(1, marked=True)
    inserted.wait_for(GET_DOMAINS)
    offline = len(peer.messages("/onu/set/all/offline", 1))
    wait_for(lambda: namespace.pings_answered() >= 3, 60)
    assert len(peer.messages("/onu/set/all/offline", 1)) == offline
    assert len(inserted.of(GET_OLT_INFORMATION)) == 1


def test_the_probe_is_the_real_ping_with_both_addresses_and_inherits_no_descriptor(daemon, peer):
    recorder = Path("/tmp/ping")
    recorder.write_text("#!/bin/sh\n"
                        # whole at once: the next probe writes them again
                        "echo \"$@\" > /tmp/$$; mv /tmp/$$ /tmp/ping-arguments\n"
                        "ls -l /proc/self/fd > /tmp/$$; mv /tmp/$$ /tmp/ping-descriptors\n"
                        "echo '1 packets transmitted, 0 received, 100% packet loss'\n")
    recorder.chmod(0o755)
    assert os.path.exists("/bin/ping") or os.path.exists("/usr/bin/ping")
    # /usr/bin/ping is replaced for this namespace only
    namespace.mount(str(recorder), os.path.realpath("/usr/bin/ping"), None, namespace.MS_BIND)
    peer.address(1)
    wait_for(lambda: Path("/tmp/ping-descriptors").exists() and
             "->" in Path("/tmp/ping-descriptors").read_text())
    assert Path("/tmp/ping-arguments").read_text() == "-w 1 -I 127.0.0.1 127.0.1.1\n"
    descriptors = Path("/tmp/ping-descriptors").read_text()
    assert "socket:" not in descriptors
    assert descriptors.count("->") == 4  # input, output, error, and the listing's own


def test_the_shell_finds_ping_by_the_path_that_the_daemon_was_started_with(processes, peer, monkeypatch):
    programs = Path("/tmp/programs")
    programs.mkdir()
    (programs / "ping").write_text("#!/bin/sh\n: > /tmp/found-by-path\n")
    (programs / "ping").chmod(0o755)
    monkeypatch.setenv("PATH", f"{programs}:{os.environ['PATH']}")
    processes("ponmgrd")
    peer.wait_for("/olt/get/all/ip")
    peer.address(1)
    wait_for(Path("/tmp/found-by-path").exists, 40, "the slot is probed by this program")


def test_an_address_never_reaches_the_shell_as_anything_but_text(daemon, peer):
    peer.address(2, ip="127.0.1.2; touch /tmp/caught $(touch /tmp/caught) '`touch /tmp/caught`",
                 source="127.0.0.1")
    peer.command("/olt/src_ip", 2, ip_address="127.0.0.1'\n touch /tmp/caught #")
    wait_for(lambda: daemon.count("ping:") >= 1, what="ping complains of the address")
    assert not Path("/tmp/caught").exists()


def test_no_child_is_left_behind(card, daemon):
    inserted = card(1, marked=True)
    inserted.wait_for(GET_DOMAINS, 2, limit=40)

    def children():
        task = Path(f"/proc/{daemon.pid}/task")
        return [child for thread in task.iterdir()
                for child in (thread / "children").read_text().split()]

    wait_for(lambda: children() == [], 20)
