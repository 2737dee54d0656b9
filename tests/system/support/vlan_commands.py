"""Commands to set an ONU's VLAN, and what has become of each, by the simulator's journal."""

from .recovery import TRIES, TRY

ONU_PORT_VLAN = 273
# Results of an answer that say that the card does it, or goes on doing it.
ACCEPTED, WORKING = (0, 2, 4), 8
CARDS_PORT = ":14113"


class Command:
    """One command: the VLAN, the requests that came to the card for it, and the answers that left for the
    daemon while it was waiting."""

    def __init__(self, request):
        self.vlan = vlan_of(request)
        self.ctag = request["ctag"]
        self.tries = [request]
        self.answers = []

    def is_tried_by(self, request):
        return (self.vlan, self.ctag) == (vlan_of(request), request["ctag"])

    def is_answered_by(self, answer):
        waited = answer["time_ns"] - self.tries[-1]["time_ns"]
        return (answer["ctag"] == self.ctag and not answer["dropped"] and
                answer["local"].endswith(CARDS_PORT) and waited <= TRY * 1e9)

    def was_carried_out(self, pretend):
        """Whether the card got it as it was sent, and did it; `pretend` is the id of the fault that has
        cards pretend."""
        return any(not entry["dropped"] and entry["card_hex"] is None and pretend not in entry["faults"]
                   for entry in self.tries)

    def outcome(self):
        """`unanswered`, `refused` or `done`, as the daemon must see it."""
        if not self.answers:
            return "unanswered"
        result = int(self.answers[0]["hex"][12:16], 16)
        return "done" if result in ACCEPTED or result & WORKING else "refused"

    def __str__(self):
        return f"{self.vlan} {self.outcome()} at try {len(self.tries)}"


def vlan_of(request):
    """A request's VLAN as the daemon sent it: its last two bytes."""
    return int(request["hex"][-4:], 16)


def commands_told(entries):
    """The commands that a card was sent, in order, from its journal. A command that is sent again behind
    another one counts as one more."""
    commands = []
    for entry in entries:
        if entry["id"] != ONU_PORT_VLAN:
            continue
        if entry["direction"] == "out":
            for command in commands:
                if command.is_answered_by(entry):
                    command.answers.append(entry)
        elif commands and commands[-1].is_tried_by(entry):
            commands[-1].tries.append(entry)
        else:
            commands.append(Command(entry))
    return commands


def complaints_about(commands, vlans):
    """What is wrong with them, as sentences, when these VLANs were commanded, in this order."""
    found = []
    told = [command.vlan for command in commands]
    if told != vlans:
        found.append(f"the card was told {told}, not {vlans}")
    for command in commands:
        if len(command.tries) > TRIES:
            found.append(f"VLAN {command.vlan} was tried {len(command.tries)} times")
        elif len(command.tries) < TRIES and not command.answers:
            found.append(f"VLAN {command.vlan} was given up after {len(command.tries)} tries without an answer")
    return found
