"""Another user of the machine, who sends to the daemon, or was there before it."""

import os
import signal
import subprocess
import sys
from contextlib import contextmanager

import pytest

from support.other_users import NOBODY, need_other_users
from support.peer import COMMANDS
from support.waiting import wait_for

NOTIFICATIONS = "/tmp/pmdbman.ipc"

SEND = """
import socket, sys
socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM).sendto(sys.argv[2].encode(), sys.argv[1])
"""
LISTEN = """
import os, socket, sys
path = sys.argv[1]
if path.startswith("/"):
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    listener.bind(path)
    os.chmod(path, 0o666)
else:
    listener = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    listener.bind((path, 14113))
print("ready", flush=True)
print("heard", listener.recv(65536).decode(), flush=True)
"""


@pytest.fixture(autouse=True)
def stranger():
    need_other_users()


def as_a_stranger(program, *words):
    return subprocess.Popen([sys.executable, "-c", program, *map(str, words)], stdout=subprocess.PIPE, text=True,
                            user=NOBODY, group=NOBODY, extra_groups=[])


@contextmanager
def listening(where):
    """A stranger who was first at a path, or at the UDP port of an address."""
    listener = as_a_stranger(LISTEN, where)
    try:
        assert listener.stdout.readline() == "ready\n"
        yield listener
    finally:
        listener.kill()
        listener.wait()


def test_a_message_of_a_stranger_is_refused_and_named_and_the_next_is_taken(daemon, peer):
    os.chmod(COMMANDS, 0o666)  # as an administrator might
    sender = as_a_stranger(SEND, COMMANDS, '{"uri":"/slot/enable"}')
    assert sender.wait() == 0
    daemon.wait_for_line(f"]-Error: recv at {COMMANDS}: message from process {sender.pid} of user {NOBODY} "
                         "refused: only root may send here")
    peer.send_text("nonsense")
    daemon.wait_for_line("JSON not parsed: nonsense")
    assert daemon.count("handlerApiRequest") == 0


def test_a_stranger_at_the_daemons_path_keeps_it_from_starting_and_keeps_his_socket(processes, peer):
    with listening(COMMANDS):
        process = processes("ponmgrd")
        assert process.wait_for_end() == -signal.SIGABRT
        assert process.count("threadWorker[119]: ") == 1
        assert os.stat(COMMANDS).st_uid == NOBODY


def test_a_stranger_at_the_database_managers_path_keeps_the_daemon_from_starting_and_hears_nothing(processes):
    with listening(NOTIFICATIONS) as listener:
        process = processes("ponmgrd")
        assert process.wait_for_end() == 1
        assert process.count("Fatal Error - threadNotifyWorker[76]: ") == 1
        assert process.count(f"belongs to user {NOBODY}, who is not trusted") == 1
        assert as_a_stranger(SEND, NOTIFICATIONS, "me first").wait() == 0
        assert listener.stdout.readline() == "heard me first\n"


def test_a_stranger_at_the_daemons_udp_port_keeps_the_cards_waiting_until_he_is_gone(card, daemon, peer):
    with listening("127.0.0.1"):
        inserted = card(3)
        wait_for(lambda: daemon.count("]: Failed to bind socket") >= 3, 30)
        assert daemon.count("bind failed: Address already in use") >= 3
        assert inserted.requests == []
    wait_for(lambda: inserted.requests, 30)
