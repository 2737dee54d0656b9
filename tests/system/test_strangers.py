"""Another user of the machine, who sends to the daemon, or was there before it."""

import os

import pytest

from support.card import GET_DOMAINS, PORT, olt_ready
from support.measures import user_bound_to
from support.other_users import NOBODY, need_other_users, of_somebody, open_to_all
from support.peer import COMMANDS, NOTIFICATIONS, Peer
from support.product import ask, control, wait_for_agreement, wait_in_service
from support.strangers import REQUEST, as_a_stranger, listening, running
from support.waiting import wait_for

DAEMON = "127.0.0.1"

SEND = """
import socket, sys
socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM).sendto(sys.argv[2].encode(), sys.argv[1])
"""
LEAVE = """
import os, socket, sys
kind, path = sys.argv[1:]
target = path + "-of-another-name"
def leave_dead_socket(path, mode=0o755):
    socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM).bind(path)
    os.chmod(path, mode)
if kind == "a file":
    open(path, "w")
elif kind == "a folder":
    os.mkdir(path)
elif kind == "a link to nothing":
    os.symlink(target, path)
elif kind == "a link to a dead socket":
    leave_dead_socket(target)
    os.symlink(target, path)
elif kind == "a dead socket":
    leave_dead_socket(path)
elif kind == "a dead socket that anybody may write to":
    leave_dead_socket(path, 0o777)
else:
    sys.exit(f"no such kind: {kind}")
"""
HOLD = """
import socket, sys, time
holder = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
print("ready", flush=True)
while True:
    try:
        holder.bind((sys.argv[1], int(sys.argv[2])))
        break
    except OSError:
        time.sleep(0.001)
while True:
    print("heard", holder.recv(65536).hex(), flush=True)
"""


@pytest.fixture(autouse=True)
def stranger():
    need_other_users()


def wanting_the_daemons_port():
    """A stranger who binds the daemon's UDP address and port as soon as he can, and keeps them."""
    return running(HOLD, DAEMON, PORT)


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
        process.wait_for_termination()
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


# Each path that others could be first at: the program that listens there and its words, and what it says first.
PLACES = {
    COMMANDS: ("ponmgrd", [], None),
    NOTIFICATIONS: ("dbman", ["serve", "--database"], "dbman ready"),
    "/tmp/dbman.ctl": ("dbman", ["serve", "--database"], "dbman ready"),
    "/tmp/chassis-sim.ctl": ("chassis-sim", [], "chassis-sim ready"),
}
every_place = pytest.mark.parametrize("path", PLACES)


def left_by_a_stranger(kind, path):
    """He has ended; gives what tells his file from another."""
    assert as_a_stranger(LEAVE, kind, path).wait() == 0
    status = os.lstat(path)
    assert status.st_uid == NOBODY
    return status.st_dev, status.st_ino


class Starts:
    """Starts the program that listens at a path."""

    def __init__(self, processes, path):
        self.processes, self.path = processes, path
        self.name, self.words, self.ready = PLACES[path]
        self.peer = None
        if self.name == "ponmgrd":
            self.peer = Peer()
            os.chmod(NOTIFICATIONS, 0o666)

    def start(self, user, before):
        """As root, or as somebody."""
        database = [f"/tmp/{user}.db"] if "--database" in self.words else []
        return self.processes(*before, *self.words, *database)

    def refused(self, user="root", before=None):
        """What it says when it can't listen there, and has ended."""
        process = self.start(user, before or [self.name])
        if self.name == "ponmgrd":
            process.wait_for_termination()
            assert process.count("threadWorker[119]: ") == 1
        else:
            assert process.wait_for_end() == 1
        assert self.path in process.output()
        return process.output()

    def taken(self):
        process = self.start("root", [self.name])
        if self.peer:
            self.peer.wait_for("/olt/get/all/ip")
        else:
            process.wait_for_line(self.ready)


@every_place
def test_what_a_stranger_leaves_at_a_path_keeps_its_program_from_starting_until_root_removes_it(processes, path):
    starts = Starts(processes, path)
    for kind in ("a file", "a folder", "a link to nothing", "a link to a dead socket"):
        left = left_by_a_stranger(kind, path)
        assert "no socket" in starts.refused(), kind
        status = os.lstat(path)
        assert (status.st_dev, status.st_ino) == left, f"{kind} is left alone"
        (os.rmdir if kind == "a folder" else os.unlink)(path)
    starts.taken()


@every_place
def test_a_dead_socket_of_a_stranger_keeps_all_users_but_root_from_starting(processes, path):
    starts = Starts(processes, path)
    as_somebody = of_somebody(open_to_all(starts.name))
    for kind, complaints in (
            ("a dead socket", ("can't find out whether", "Permission denied")),
            ("a dead socket that anybody may write to", ("can't remove", "Operation not permitted"))):
        left_by_a_stranger(kind, path)
        said = starts.refused("somebody", as_somebody)
        assert all(complaint in said for complaint in complaints), said
        assert os.lstat(path).st_uid == NOBODY
        os.unlink(path)
    left_by_a_stranger("a dead socket", path)
    starts.taken()


def test_a_stranger_at_the_daemons_udp_port_keeps_the_cards_waiting_until_he_is_gone(card, daemon, peer):
    with wanting_the_daemons_port() as holder:
        wait_for(lambda: user_bound_to(DAEMON) == NOBODY)
        inserted = card(3)
        assert_the_card_waits_and_he_hears_it(inserted, daemon, holder)
        assert inserted.requests == []
    wait_for(lambda: inserted.requests, 30)


def test_a_stranger_who_takes_the_udp_port_as_the_socket_is_built_anew_does_the_same(card, daemon, peer):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_DOMAINS)

    def taken():
        # once more when he has missed his second
        if user_bound_to(DAEMON) == os.getuid():
            inserted.send_event(bytes(7))
        return user_bound_to(DAEMON) == NOBODY

    with wanting_the_daemons_port() as holder:
        wait_for(taken, 60, "the port is the stranger's", pause=0.5)
        assert_the_card_waits_and_he_hears_it(inserted, daemon, holder)
        asked = len(inserted.requests)
    wait_for(lambda: len(inserted.requests) > asked, 30)


def assert_the_card_waits_and_he_hears_it(inserted, daemon, holder):
    wait_for(lambda: daemon.count("]: Failed to bind socket") >= 1, 30)
    asked = len(inserted.requests)
    wait_for(lambda: daemon.count("]: Failed to bind socket") >= 4, 30)
    assert daemon.count("bind failed: Address already in use") >= 4
    assert len(inserted.requests) == asked
    event = olt_ready(inserted.slot)
    inserted.socket.sendto(event, (DAEMON, PORT))
    assert f"heard {event.hex()}\n" in holder.stdout


def test_a_stranger_commands_a_card_from_a_port_of_his_own_and_the_operator_mends_it(chassis):
    chassis("1", "--onus", "2", "--configured")
    stranger = as_a_stranger(REQUEST, "127.0.1.1", PORT, "000900010000")  # Disable OLT
    assert stranger.communicate(timeout=60)[0] == "0009000100020000\n"
    told = control("card", "1", "get")
    assert (told["state"], told["enabled"]) == ("configured", False)
    ask("dbman", "slot", "enable", "1")
    wait_in_service()
    wait_for_agreement()
