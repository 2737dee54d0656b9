"""The whole product at work: a simulated chassis, the database manager and the daemon."""

import json
import os
import signal
import socket
import subprocess
import sys
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "system"))

from support.peer import COMMANDS  # noqa: E402
from support.process import Process  # noqa: E402
from support.product import program  # noqa: E402
from support.simulator import datagrams, journal_since, request  # noqa: E402
from support.waiting import wait_for  # noqa: E402

from log_kinds import CountedLines  # noqa: E402

NAMES = ("chassis-sim", "dbman", "ponmgrd")
ANSWER_TIME = 60


class Refused(Exception):
    """A program didn't do what it was asked; its words."""


def ask(name, *words, limit=ANSWER_TIME):
    """What a program answers to a command within so many seconds, from JSON."""
    try:
        done = subprocess.run([program(name), *map(str, words), "--json"], capture_output=True, text=True,
                              timeout=limit)
    except subprocess.TimeoutExpired as error:
        raise Refused(f"{name} {' '.join(map(str, words))}: no answer within {limit} s") from error
    try:
        answer = json.loads(done.stdout)
    except ValueError:
        answer = {"error": done.stdout + done.stderr}
    if done.returncode != 0 or "error" in answer:
        raise Refused(f"{name} {' '.join(map(str, words))}: {answer.get('error')}")
    return answer


def _listens():
    """Whether a daemon takes commands; the path of one that was killed is still there."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as caller:
        return caller.connect_ex(COMMANDS) == 0


def _what_is_missing(slot):
    """The ONUs of a slot that aren't in service, three at most, and what they lack."""
    names = [row["onu"] for row in request(verb="onus", of=str(slot))["onus"]
             if row["state"] != "on-line" or not row["provisioned"]]
    lacking = [request(verb="onu", onu=name, action="get") for name in names[:3]]
    return "".join(f", {onu['onu']} {onu['state']} lacks {onu['missing']}" for onu in lacking)


# Lines that dbman holds, which take it ten minutes and more to fill by itself; and a command that does nothing,
# whose line is as long as the most frequent one, that of an ONU: memory for lines of another length would be
# taken beside it.
HELD_LINES = 10000
LINE = {"command": "send", "uri": "/slot/no/such/command", "data": {"slot_id": "1", "why": "x" * 7}}
# What dbman answers at the greatest length.
LONGEST_ANSWERS = [("events", "--limit", "10000"), ("alarm", "history", "--limit", "10000"), ("alarm", "list"),
                   ("onu", "list")]


def give_longest_answers():
    """Has dbman give them, so that its memory for them is taken."""
    for words in LONGEST_ANSWERS:
        ask("dbman", *words)


def fill_event_log():
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as stream:
        stream.settimeout(ANSWER_TIME)
        stream.connect("/tmp/dbman.ctl")
        with stream.makefile("rb") as answers:
            for slot in range(HELD_LINES):
                line = {**LINE, "data": {**LINE["data"], "slot_id": str(1 + slot % 8)}}
                stream.sendall(json.dumps(line).encode() + b"\n")
                answer = json.loads(answers.readline())
                assert "error" not in answer, answer


class Plant:
    """Starts the three programs; starts dbman and the daemon anew when they were killed."""

    def __init__(self, folder, seed, onus):
        self.folder = folder
        self.lines = {name: CountedLines(folder / f"{name}.log") for name in NAMES}
        self.processes = {}
        self.killed = set()
        self.starts = Counter()
        self.counted = Counter()  # by dbmans that were killed
        self.commands = {
            "chassis-sim": ["--slots", "1-8", "--onus", onus, "--seed", seed],
            "dbman": ["serve", "--slots", "1-8", "--database", folder / "dbman.db"],
            "ponmgrd": [],
        }
        for name in NAMES:
            self.start(name)

    def start(self, name):
        """Starts a program and waits until it is ready."""
        self.starts[name] += 1
        self.killed.discard(name)
        times = self.starts[name]
        self.processes[name] = Process(name, [program(name), *self.commands[name]], self.lines[name],
                                       own_session=True)
        ready = _listens if name == "ponmgrd" else lambda: self._times_ready(name) >= times
        wait_for(ready, 60, f"{name} is ready")

    def _times_ready(self, name):
        return sum(count for kind, count in list(self.lines[name].kinds.items())
                   if kind.startswith(f"{name} ready"))

    def pid(self, name):
        return self.processes[name].pid

    def signal(self, name, number):
        os.kill(self.pid(name), number)

    def kill(self, name):
        """Kills dbman or the daemon; start() puts another in its place. Raises AssertionError when it had ended by
        itself."""
        if name == "dbman":
            self.counted.update(self._status())
        self.killed.add(name)
        self.processes[name].kill()

    def check_running(self):
        """Raises AssertionError when a program has ended by itself."""
        ended = self.ended()
        assert not ended, ended[0]

    def ended(self):
        """A sentence for each program that has ended and wasn't killed."""
        return [f"{name} ended by itself" for name, process in self.processes.items()
                if name not in self.killed and not process.is_running()]

    @staticmethod
    def _status():
        status = ask("dbman", "status")
        return Counter(status["notifications"]) + Counter(
            {name: status[name] for name in ("unknown", "malformed", "commands_sent", "commands_failed")})

    def messages(self):
        """How many messages have gone by, of each kind."""
        return {"datagrams": datagrams(), **dict(sorted((self.counted + self._status()).items()))}

    @staticmethod
    def not_in_service():
        """Slots whose card, or one of whose ONUs, isn't in service, and why."""
        found = {}
        for row in request(verb="list")["cards"]:
            if row["state"] != "in-service" or row["onus_provisioned"] != row["onus_total"]:
                found[row["slot"]] = (f"card {row['state']}, {row['onus_provisioned']} of {row['onus_total']} ONUs"
                                      + (_what_is_missing(row["slot"]) if row["state"] == "in-service" else ""))
        return found

    def keep_journal(self, number):
        """Writes what the simulator remembers of the wire to a file, and gives its name."""
        path = self.folder / f"journal-{number}.jsonl"
        path.write_text("".join(json.dumps(entry) + "\n" for entry in journal_since(0)))
        return path

    def end(self):
        """Ends the daemon, dbman and the simulator, in this order; gives what is amiss with their ends."""
        amiss = []
        for name in reversed(NAMES):
            process = self.processes.get(name)
            if process is None or not process.is_running():
                continue
            self.signal(name, signal.SIGCONT)
            self.signal(name, signal.SIGTERM)
            try:
                status = process.wait_for_end(30)
            except subprocess.TimeoutExpired:
                amiss.append(f"{name} didn't end within 30 s of its signal")
                process.stop()
                continue
            if status not in (0, -signal.SIGTERM):
                amiss.append(f"{name} ended with status {status}")
        return amiss
