"""What a case has around it: the programs, a namespace of its own, and how much it is to do."""

import json
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "system"))

from support.process import Process  # noqa: E402

SOURCE = "127.0.0.1"
CARDS = "127.0.1."


class Bench:
    """`quick` asks for a fraction of the work: enough to see that the case runs."""

    def __init__(self, build, quick):
        self.build = build
        self.quick = quick
        self.running = []

    def pick(self, full, quick):
        return quick if self.quick else full

    @property
    def runs(self):
        return self.pick(5, 3)

    def program(self, name):
        return self.build / "bin" / name

    def start(self, name, *words, program=None):
        """A process that ends with the case at the latest."""
        process = Process(name, [program or self.program(name), *words])
        self.running.append(process)
        return process

    def stop(self, process):
        self.running.remove(process)
        process.stop()

    def stop_all(self):
        while self.running:
            self.stop(self.running[-1])

    def ask(self, name, *words, limit=900):
        """Runs a program to its end; its output's lines, parsed."""
        done = subprocess.run([self.program(name), *map(str, words)], capture_output=True, text=True,
                              timeout=limit)
        if done.returncode != 0:
            raise RuntimeError(f"{name} {' '.join(map(str, words))} failed: {done.stderr.strip()}")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def simulator(self, *words):
        """A simulated chassis that can be spoken to."""
        simulator = self.start("chassis-sim", "--seed", "1", *words)
        simulator.wait_for_line("chassis-sim ready", 60)
        return simulator

    def control(self, *words):
        return self.ask("chassis-sim", "ctl", *words, "--json")[0]

    def new_folder(self):
        return Path(tempfile.mkdtemp(prefix="bench-"))


def say(text):
    print(f"{time.strftime('%H:%M:%S')} {text}", file=sys.stderr, flush=True)
