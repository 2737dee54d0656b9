"""The simulator's journal, as its file has it: which datagram passed which card when."""

import json
from collections import defaultdict
from dataclasses import dataclass
from datetime import datetime, timezone

IN, OUT = "in", "out"


@dataclass(slots=True)
class Datagram:
    """`wall` is in seconds since 1970; `hex` are the frame's bytes."""

    card: int
    direction: str
    wall: float
    id: int
    ctag: int
    hex: str = ""


def _wall(text):
    whole, fraction = text.rstrip("Z").split(".")
    seconds = datetime.strptime(whole, "%Y-%m-%dT%H:%M:%S").replace(tzinfo=timezone.utc).timestamp()
    return seconds + float("0." + fraction)


class Reader:
    """Reads a journal that is being written, each datagram once."""

    def __init__(self, path):
        self.path = path
        self.place = 0  # in bytes

    def more(self):
        """The datagrams since the last time, in their order. A last line that is being written waits until the
        next time."""
        with open(self.path, "rb") as file:
            file.seek(self.place)
            lines = file.read().splitlines(keepends=True)
        whole = [line for line in lines if line.endswith(b"\n")]
        self.place += sum(map(len, whole))
        return [_datagram(json.loads(line)) for line in whole]


def _datagram(entry):
    return Datagram(entry["card"], entry["direction"], _wall(entry["wall"]), entry["id"], entry["ctag"],
                    entry["hex"])


def read(path):
    """All datagrams in their order, but a last line that is being written."""
    return Reader(path).more()


@dataclass(slots=True)
class Exchange:
    """A request as it was sent once, in seconds since 1970: when it came, when its answer went (None when none
    did), and when the next request came (None for the last)."""

    id: int
    sent: float
    answered: float | None
    next: float | None


def exchanges(datagrams):
    """Of each card, in order."""
    answers = defaultdict(list)
    requests = defaultdict(list)
    for datagram in datagrams:
        if datagram.direction == IN:
            requests[datagram.card].append(datagram)
        else:
            answers[datagram.card, datagram.id, datagram.ctag].append(datagram.wall)
    return {card: _chained(card, sent, answers) for card, sent in requests.items()}


def _chained(card, sent, answers):
    chained = []
    for i, request in enumerate(sent):
        following = sent[i + 1].wall if i + 1 < len(sent) else None
        answered = next((time for time in answers[card, request.id, request.ctag]
                         if time >= request.wall and (following is None or time <= following)), None)
        chained.append(Exchange(request.id, request.wall, answered, following))
    return chained
