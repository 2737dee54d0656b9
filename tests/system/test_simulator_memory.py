"""How much memory the simulator takes at its largest, as it is shipped: a sanitizer's bookkeeping is many
times that."""

import socket
from pathlib import Path

import pytest

from support.product import control

MOST = 97_656  # KiB: 100 MB
PORT = 14113
GET_ALL_KNOWN_LINKS = 118
ROUND = 50


def resident(process):
    """What the process has in memory, in KiB."""
    status = Path(f"/proc/{process.pid}/status").read_text()
    return int(next(line.split()[1] for line in status.splitlines() if line.startswith("VmRSS:")))


def ask_all_cards(manager, rounds):
    """Asks each card many times for its list of ONUs; every request is answered."""
    for _ in range(rounds):
        for slot in range(1, 9):
            for tag in range(ROUND):
                manager.sendto(bytes([GET_ALL_KNOWN_LINKS >> 8, GET_ALL_KNOWN_LINKS & 255, 0, tag, 0, 0]),
                               (f"127.0.1.{slot}", PORT))
            for _ in range(ROUND):
                assert len(manager.recv(65536)) > 124 * 6


@pytest.mark.shipped
def test_eight_cards_of_248_onus_and_a_full_journal_stay_within_100_megabytes(processes):
    simulator = processes("chassis-sim", "--onus", "124", "--configured", "--seed", "1")
    simulator.wait_for_line("chassis-sim ready")
    assert len(control("onu", "list")["onus"]) == 8 * 248
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as manager:
        manager.bind(("127.0.0.1", PORT))
        manager.settimeout(20)
        ask_all_cards(manager, 25)
        seen = control("journal", "--last", "1")["seen"]
        assert seen >= 2 * 25 * 8 * ROUND, "more than the journal keeps"
        full = resident(simulator)
        ask_all_cards(manager, 25)
        later = resident(simulator)
        print(f"{full} KiB with a full journal, {later} KiB later")
        assert full < MOST
        assert later < full + 2000, "no more for what comes later"
