"""From the cards' addresses to all ONUs reported on-line and provisioned, beside what the protocol itself
takes: its exchanges, its pauses, its passes."""

import math
from dataclasses import dataclass
from statistics import median

from .. import journal
from ..manager import Manager
from ..rows import Row, by_turns, ratios
from ..surroundings import say

NAME = "bring-up"
ANSWERS = "how long until the ONUs of eight cards are in service"
IN_QUICK = True

CARDS = 8
SIZES = (1, 8, 64, 248)
IDLE = 2.0  # an idle slot looks so often whether it has an address
RESPONSE = 5  # a request's limit: the current whole second plus these
PAUSE = 1.0  # behind every pass

# What a card that is fresh from the factory is asked once: who it is, its storage, the reset (4), the marker and
# the configuration (38), the marker and the card again (2), and in the first full pass the storage, the marker,
# the domains, both lists of links, the paths and the readings of two modules (8).
FIXED_REQUESTS = 52
# Passes that end without a full one, and the first full one: identified; reset; configured; marked; identified
# anew; levels read.
PAUSES = 6
# Of each link: its levels, its bridging mode, its enabling, the service levels of the link and of three queues,
# its Ethernet port.
LINK_REQUESTS = {585, 388, 385, 397, 384, 299}
REQUESTS_OF_A_LINK = 8
# Asked of a link whose port no event has told, at most once.
PORT_OF_LINK = 363


@dataclass
class CardTime:
    """Seconds: what a card's bring-up took, what of it the protocol asks for, how late the card's answers were in
    all, and the part of the requests of its links. `beyond` are the requests that the protocol doesn't ask for."""

    taken: float
    floor: float
    late: float
    links: float
    beyond: int


def run(bench):
    rows = []
    for latency in bench.pick((2, 20), (2,)):
        sizes = bench.pick(SIZES, (8,))
        turns = {onus: [] for onus in sizes}
        for turn in range(bench.pick(5, 1)):
            for onus in by_turns(sizes, turn):
                turns[onus].append(bring_up(bench, onus, latency))
        for onus in sizes:
            rows += summary(onus, latency, turns[onus])
        if len(sizes) > 1:
            rows.append(growth(latency, turns))
    return rows


def summary(onus, latency, turns):
    """Of the card that is last in each turn."""
    last = [max(turn, key=lambda card: card.taken) for turn in turns]
    link_floor = onus * REQUESTS_OF_A_LINK * latency / 1e3
    return [Row(f"{onus} ONUs a card, latency {latency} ms", "the protocol's requests, waits and pauses",
                [card.taken / card.floor for card in last], at_most=1.10, credible_from=0.97,
                details={"seconds": median(card.taken for card in last),
                         "floor s": median(card.floor for card in last),
                         "with the answers as they came":
                             median(card.taken / (card.floor + card.late) for card in last),
                         "its links' requests alone": median(card.links / link_floor for card in last),
                         "requests beyond it": max(card.beyond for card in last)})]


def growth(latency, turns):
    """What an ONU takes on a full card beside what it takes on one of 64."""
    def of_an_onu(onus):
        return [median(card.links for card in turn) / onus for turn in turns[onus]]
    return Row(f"an ONU's requests at 248 a card, latency {latency} ms", "at 64",
               ratios(of_an_onu(248), of_an_onu(64)), at_least=0.95, at_most=1.05)


def bring_up(bench, onus, latency):
    """One bring-up of eight factory-fresh cards; what each card's took. Half of the ONUs are at each of a card's
    ports; a single one is at the first."""
    say(f"  {onus} ONUs a card, latency {latency} ms")
    folder = bench.new_folder()
    simulator = bench.simulator("--onus", max(onus // 2, 1), "--latency", f"{latency}ms", "--journal-file",
                                folder / "journal")
    if onus == 1:
        for card in range(1, CARDS + 1):
            bench.control("onu", f"{card}/1/0", "unplug")
    manager = Manager()
    daemon = bench.start("ponmgrd")
    manager.bind_daemon()
    start = manager.give_addresses()
    manager.wait_until(lambda news: len(in_service(news)) == CARDS * onus, 600,
                       lambda: f"{len(in_service(manager.news()))} of {CARDS * onus} ONUs are reported")
    ends = last_of_each_card(in_service(manager.news()))
    for process in (daemon, simulator):
        bench.stop(process)
    manager.close()
    exchanges = journal.exchanges(journal.read(folder / "journal"))
    return [card_time(exchanges[card], start, ends[card], latency / 1e3, onus) for card in sorted(ends)]


def in_service(news):
    """By MAC address: when the ONU was first reported on-line and provisioned, and its slot."""
    found = {}
    for moment, uri, data in news:
        if uri == "/onu/new" and all(data[key] == "1" for key in
                                     ("online_status", "is_gigabit", "ether_up_status")):
            found.setdefault(data["mac_address"], (moment, int(data["slot_id"])))
    return found


def last_of_each_card(reported):
    ends = {}
    for moment, slot in reported.values():
        ends[slot] = max(moment, ends.get(slot, 0))
    return ends


def card_time(exchanges, start, end, latency, onus):
    """Beside what the card was asked until its last ONU was reported. From the journal the floor has three
    things only: when the first request came, when the one was sent that the resetting card doesn't answer, and
    of how many links no event has told the port."""
    whole = [exchange for exchange in exchanges
             if exchange.sent < end and (exchange.answered is None or exchange.answered <= end)]
    idle = min(whole[0].sent - start, IDLE)
    silent = [exchange for exchange in whole if exchange.answered is None]
    asked_ports = min(sum(exchange.id == PORT_OF_LINK for exchange in whole), onus)
    requests = FIXED_REQUESTS + REQUESTS_OF_A_LINK * onus + asked_ports
    floor = idle + sum(map(limit_of, silent[:1])) + requests * latency + PAUSES * PAUSE
    late = sum(exchange.answered - exchange.sent - latency for exchange in whole
               if exchange.answered is not None)
    links = sum(own_time(exchange, end) for exchange in whole if exchange.id in LINK_REQUESTS)
    return CardTime(end - start, floor, late, links, len(whole) - len(silent[:1]) - requests)


def limit_of(exchange):
    """How long the daemon waits for an answer to this request."""
    return math.floor(exchange.sent) + RESPONSE - exchange.sent


def own_time(exchange, end):
    """From the request to the next one, without the pause behind a pass."""
    until = min(exchange.next or end, end)
    over = exchange.answered or exchange.sent
    return until - exchange.sent - (PAUSE if until - over >= PAUSE else 0)
