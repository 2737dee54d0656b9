"""An alarm as a card sends it, and as the database manager is told of it: both say the same in the end."""

from dataclasses import dataclass

LOSS_OF_SIGNAL = 0x11
LOSS_OF_SIGNAL_REPORTED = "Loss of Signal"

# A frame's id, ctag, length, result and sequence.
HEADER = 10
OLT_PORT = 5
LINKS = {3: "ONU Link", 7: "OLT Link"}
PORTS = ("EPON-0", "EPON-1", "NNI-0", "NNI-1")
RAISED = 1


@dataclass(frozen=True, slots=True)
class Alarm:
    """`moment` is in seconds since 1970: when it left the card, or when the report came."""

    moment: float
    label: str
    state: str

    def says(self):
        return self.label, self.state


def sent(datagram):
    """What a card's Report Alarm says; None when it is about something else than a loss of signal."""
    data = bytes.fromhex(datagram.hex)[HEADER:]
    tag, mac, rest = data[0], data[1:7].hex(":"), data[7:]
    if tag == OLT_PORT:
        label, rest = f"OLT Port: {PORTS[int.from_bytes(rest[:2], 'big')]}", rest[2:]
    else:
        label = f"{LINKS[tag]}: {mac}"
    code, state = rest[0], rest[1]
    return Alarm(datagram.wall, label, "On" if state == RAISED else "Off") if code == LOSS_OF_SIGNAL else None


def reported(moment, row):
    """What a row of a report says; None when it is about something else than a loss of signal."""
    return Alarm(moment, row["label"], row["state"]) if row["alarm"] == LOSS_OF_SIGNAL_REPORTED else None
