"""chassis-sim by its control socket: one line of JSON there, one back, without a process for each."""

import json
import socket

PATH = "/tmp/chassis-sim.ctl"


def request(path=PATH, **members):
    """The reply to one request; an error the simulator tells is a failure."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as stream:
        stream.settimeout(30)
        stream.connect(path)
        stream.sendall(json.dumps(members).encode() + b"\n")
        with stream.makefile("rb") as lines:
            reply = json.loads(lines.readline())
    assert "error" not in reply, f"{members}: {reply}"
    return reply


def datagrams():
    """How many datagrams have passed the cards so far."""
    return request(verb="journal", last=1)["seen"]


def journal_since(number, card=None):
    """All datagrams behind this number, of one card or of all; the simulator must still hold them."""
    found = []
    wanted = {} if card is None else {"card": card}
    while True:
        entries = request(verb="journal", after=number, last=500, **wanted)["entries"]
        if not entries:
            return found
        found += entries
        number = entries[-1]["number"]
