"""Faults on the wire: every kind of the simulator, with options drawn at random."""

from plant import ask

# What a kind can make the daemon miss, or misread, for good: a step that it takes once was lost, or an
# answer said something else.
LOSING = "losing"
FALSIFYING = "falsifying"
HARMLESS = "harmless"


def _probability(chance, most):
    return ["--probability", f"{chance.uniform(0.02, most):.2f}"]


def _both_ways(chance, most):
    return ["--direction", chance.choice(["in", "out", "all"]), *_probability(chance, most)]


def _milliseconds(chance, least, most):
    return f"{chance.randint(least, most)}ms"


MOST_A_SECOND, MOST_ALARMS = 300, 2000
LARGEST_BURST_SECONDS = MOST_ALARMS / MOST_A_SECOND


def _burst(chance):
    return ["--rate", chance.randint(10, MOST_A_SECOND), "--count", chance.randint(20, MOST_ALARMS), "--alarm",
            chance.choice(["Loss of Signal", "Temperature", "Report Timeout"])]


def _garbage(chance):
    if chance.random() < 0.5:
        return ["--stranger", "--rate", chance.randint(5, 200)]
    return ["--rate", chance.randint(1, 10), "--size", chance.choice([8, 40, 64, 1400])]


KINDS = {
    "drop": (LOSING, lambda chance: _both_ways(chance, 0.5)),
    "delay": (HARMLESS, lambda chance: ["--time", _milliseconds(chance, 5, 1500), *_both_ways(chance, 0.5)]),
    "duplicate": (HARMLESS, lambda chance: ["--copies", chance.randint(1, 3), *_both_ways(chance, 0.7)]),
    "reorder": (HARMLESS, lambda chance: ["--limit", _milliseconds(chance, 20, 500), *_both_ways(chance, 0.5)]),
    "truncate": (LOSING, lambda chance: ["--bytes", chance.randint(1, 40), *_both_ways(chance, 0.3)]),
    "flip-bit": (FALSIFYING, lambda chance: _both_ways(chance, 0.1)),
    "wrong-ctag": (LOSING, lambda chance: _both_ways(chance, 0.4)),
    "wrong-id": (FALSIFYING, lambda chance: _both_ways(chance, 0.2)),
    "wrong-length": (LOSING, lambda chance: _both_ways(chance, 0.3)),
    "result": (LOSING, lambda chance: ["--code", chance.choice([1, 2, 3, 7, 0x105]), *_probability(chance, 0.3)]),
    "late": (LOSING, lambda chance: _probability(chance, 0.2)),
    "mute": (LOSING, lambda chance: _probability(chance, 1)),
    "pretend": (FALSIFYING, lambda chance: _probability(chance, 0.3)),
    "wrong-port": (LOSING, lambda chance: _probability(chance, 0.3)),
    "event-burst": (HARMLESS, _burst),
    "garbage": (LOSING, _garbage),
}


def check_every_kind_is_known():
    """Fails when the simulator has a kind that is not in the table, or lacks one that is."""
    told = {row["kind"] for row in ask("chassis-sim", "ctl", "fault", "kinds")["kinds"]}
    assert told == set(KINDS), f"kinds of faults: the simulator's {sorted(told)}, ours {sorted(KINDS)}"


# Seconds that a fault can hold a datagram up, which it still does when it is over.
LINGERING = {"delay": 3, "late": 16}


def add(kind, slot, chance, seconds):
    """Adds a fault of this kind to a card, for so long."""
    ask("chassis-sim", "ctl", "fault", "add", kind, "--card", slot, "--for", f"{int(seconds * 1000)}ms",
        *KINDS[kind][1](chance))


def largest_burst(slot):
    """As many alarms of a card, and as fast, as random faults ever make of them."""
    ask("chassis-sim", "ctl", "fault", "add", "event-burst", "--card", slot, "--rate", MOST_A_SECOND,
        "--count", MOST_ALARMS)
