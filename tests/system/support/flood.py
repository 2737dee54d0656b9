"""A flood of worthless datagrams, sent by a program of its own so that the test itself stays awake.

It sends until its time is up and prints what it did as one JSON object. Raw sockets give every datagram
the wanted sender, also an address and port that a card is bound to.
"""

import argparse
import json
import random
import socket
import struct
import sys
import time
from pathlib import Path

LONGEST = 65507  # the most that a datagram over IPv4 holds
TURN = 0.004

# Requests and events of the cards' protocol, whose ids make a header look right.
REQUESTS = (7, 68, 118, 301, 363, 381, 385, 388, 397, 435, 585)
EVENTS = (0x8019, 0x801A, 0x802B)
# An answer to Get OLT Information and a Link Discovery, cut before their end.
INFORMATION = bytes.fromhex("00070001005d0000000db600000100000000000db637230102")
DISCOVERY = bytes.fromhex("8019000000240000" "0001" "000db6030009" "0012" "000db61234000100070100")


def some_bytes(chance):
    """At least a header's worth: what is shorter has the daemon build its socket anew. Below the ids of
    events, every one of which would cost the card its real ones of that second."""
    return bytes([chance.randrange(0x80)]) + chance.randbytes(chance.randint(7, 300))


def right_header(chance):
    """A known id and a right length field before nonsense that no parser takes."""
    if chance.random() < 0.1:
        data = chance.randbytes(chance.randint(4, 9))
        return struct.pack(">HHH", chance.choice(EVENTS), chance.randrange(0x10000), len(data)) + data
    data = chance.randbytes(chance.randint(2, 120))
    return struct.pack(">HHH", chance.choice(REQUESTS), chance.randrange(0x10000), len(data)) + data


def cut_short(chance):
    frame = INFORMATION if chance.random() < 0.9 else DISCOVERY
    return frame[:chance.randint(8, len(frame) - 1)]


def too_short(chance):
    return chance.randbytes(chance.randint(1, 7))


KINDS = {  # how many in a hundred, and how to make one
    "random": (40, some_bytes),
    "headers": (34, right_header),
    "truncated": (15, cut_short),
    "empty": (10, lambda chance: b""),
    "huge": (1, lambda chance: chance.randbytes(LONGEST)),
}
SORTS = {"harmless": KINDS, "all": {**KINDS, "short": (10, too_short)}, "short": {"short": (10, too_short)}}


def mixture(sort, chance):
    frames = [make(chance) for share, make in SORTS[sort].values() for _ in range(share * 10)]
    chance.shuffle(frames)
    return frames


def open_senders(sources):
    """Raw sockets bound to the sources' addresses, with the sources' ports."""
    senders = []
    for source in sources:
        address, port = source.split(":")
        sender = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_UDP)
        sender.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 4 << 20)
        sender.bind((address, 0))
        senders.append((sender, int(port)))
    return senders


def flood(sources, target, rate, seconds, frames):
    """Sends the frames over and over, from each source in turn; returns how many, and how long it took."""
    address, port = target.split(":")
    senders = open_senders(sources)
    packets = [[struct.pack(">HHHH", own, int(port), 8 + len(frame), 0) + frame for frame in frames]
               for _, own in senders]
    sent = 0
    began = now = time.monotonic()
    while now - began < seconds:
        # what is due by now; a pause is made up for, but not at once
        due = min(int((now - began) * rate), sent + rate // 4)
        while sent < due:
            which = sent % len(senders)
            senders[which][0].sendto(packets[which][sent // len(senders) % len(frames)], (address, 0))
            sent += 1
        time.sleep(TURN)
        now = time.monotonic()
    return sent, now - began


def frames_of(asked):
    if asked.file:
        return [bytes.fromhex(line) for line in Path(asked.file).read_text().split()]
    return mixture(asked.frames, random.Random(asked.seed))


def main():
    words = argparse.ArgumentParser()
    words.add_argument("--from", dest="sources", action="append", required=True, metavar="ADDRESS:PORT")
    words.add_argument("--to", required=True, metavar="ADDRESS:PORT")
    words.add_argument("--rate", type=int, required=True, help="datagrams a second, of all sources together")
    words.add_argument("--seconds", type=float, required=True)
    words.add_argument("--frames", choices=SORTS, default="harmless",
                       help="short: of less than a header, for which a card has the socket built anew")
    words.add_argument("--file", help="send these frames, a line of hex digits each")
    words.add_argument("--seed", type=int, default=1)
    asked = words.parse_args()
    sent, took = flood(asked.sources, asked.to, asked.rate, asked.seconds, frames_of(asked))
    print(json.dumps({"sent": sent, "seconds": took, "rate": sent / took}))


if __name__ == "__main__":
    sys.exit(main())
