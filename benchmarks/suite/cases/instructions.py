"""Instructions of one steady pass, counted by callgrind: the one figure that a busy machine doesn't touch."""

import re
import signal
import subprocess
import time

from ..manager import Manager
from ..rows import Row
from ..surroundings import say
from .box import settle

NAME = "instructions"
ANSWERS = "instructions of one steady pass over a card, by its ONUs"
IN_QUICK = False

# Every full pass calls it once.
MARK = "ponmgr::PONCardHelper::handleAlarms("
SIZES = (8, 64, 248)
# A round of optical levels: they are read in one pass of 32.
SECONDS = 33


def run(bench):
    counted = {onus: [] for onus in SIZES}
    for _ in range(bench.runs):
        for onus in SIZES:
            counted[onus].append(a_pass(bench, onus))
    rows = [Row(f"a pass over a card of {onus} ONUs", "", counted[onus], "instructions") for onus in SIZES]
    small, middle, large = SIZES
    growth = [((last - between) / (large - middle)) / ((between - first) / (middle - small))
              for first, between, last in zip(*(counted[onus] for onus in SIZES), strict=True)]
    return rows + [Row(f"what an ONU adds between {middle} and {large}", f"between {small} and {middle}",
                       growth, at_most=1.05)]


def a_pass(bench, onus):
    """A pass's share of everything that the daemon does while its levels are read once."""
    say(f"  {onus} ONUs a card")
    folder = bench.new_folder()
    bench.simulator("--onus", onus // 2, "--configured", "--optics-interval", "0", "--journal", "1000")
    manager = Manager()
    daemon = bench.start("callgrind", "--tool=callgrind", "--instr-atstart=no",
                         f"--callgrind-out-file={folder}/out", bench.program("ponmgrd"),
                         program="/usr/bin/valgrind")
    settle(manager, onus)
    subprocess.run(["callgrind_control", "-i", "on", str(daemon.pid)], check=True, capture_output=True)
    time.sleep(SECONDS)
    daemon.process.send_signal(signal.SIGTERM)
    daemon.wait_for_end(60)
    bench.stop_all()
    manager.close()
    return read(folder / "out")


def read(path):
    """Instructions of the whole process by calls of the mark."""
    text = path.read_text()
    numbers = {name: number for number, name in re.findall(r"^c?fn=\((\d+)\) (.+)$", text, re.M)}
    mark = next((number for name, number in numbers.items() if name.startswith(MARK)), None)
    calls = sum(map(int, re.findall(rf"^cfn=\({mark}\).*\ncalls=(\d+)", text, re.M)))
    if calls == 0:
        raise RuntimeError(f"callgrind has seen no call of {MARK}...)")
    return int(re.search(r"^(?:totals|summary): (\d+)", text, re.M).group(1)) / calls
