"""The database manager's end of the link, which notes when each message came and reads it once."""

import json
import time

from .surroundings import SOURCE

from support.peer import Peer
from support.waiting import wait_for


class Manager(Peer):
    """Beside what the system tests' peer does: keeps the messages parsed, with the time of day they came at."""

    def __init__(self):
        super().__init__()
        self.read = 0
        self.parsed = []  # (time of day, uri, data)

    def news(self):
        """All messages so far."""
        arrived = self.received[self.read:]
        self.read += len(arrived)
        offset = time_of_day_offset()
        for moment, text in arrived:
            message = json.loads(text)
            self.parsed.append((moment + offset, message["uri"], message["data"]))
        return self.parsed

    def wait_until(self, predicate, limit, what):
        """Looks at all messages now and then, so as not to take the cores from those that are measured."""
        def looked_at():
            time.sleep(0.2)
            return predicate(self.news())
        return wait_for(looked_at, limit, what)

    def bind_daemon(self):
        """Tells the source address alone, and waits until the daemon has bound its socket to it."""
        self.wait_until(lambda news: any(uri == "/olt/get/all/ip" for _, uri, _ in news), 30,
                        "the daemon asks for the addresses")
        self.command("/olt/src_ip", 1, ip_address=SOURCE)
        wait_for(is_bound, 30, "the daemon's socket is bound")

    def give_addresses(self, slots=range(1, 9)):
        """The time of day at which the first of them was sent."""
        start = time.time()
        for slot in slots:
            self.address(slot)
        return start


def time_of_day_offset():
    """What the steady clock's time lacks of the time of day. A thread that loses its core between the two
    readings finds too little, so the largest of some is taken."""
    return max(time.time() - time.monotonic() for _ in range(10))


def is_bound():
    """Whether a socket has our own address and the cards' port (0x3721)."""
    with open("/proc/net/udp", encoding="ascii") as sockets:
        return any(" 0100007F:3721 " in line for line in sockets)
