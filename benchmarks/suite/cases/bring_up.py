"""From the cards' addresses to all ONUs reported on-line and provisioned, beside what the protocol itself
takes: its exchanges, its pauses, its passes."""

import math
from dataclasses import dataclass
from statistics import median

from .. import journal
from ..manager import Manager
from ..rows import Row, ratios
from ..surroundings import say

NAME = "bring-up"
ANSWERS = "how long until the ONUs of eight cards are in service"
IN_QUICK = True

CARDS = 8
PASS = 1.0  # the pause behind every pass
IDLE = 2.0  # an idle slot looks so often whether it has an address
RESPONSE = 5  # a request's limit: the current whole second plus these
# The exchanges of one link: bridging mode, enable, the SLAs of the link and of three queues, Ethernet port.
LINK_REQUESTS = {388, 385, 397, 384, 299}
LINK_EXCHANGES = 7


@dataclass
class CardTime:
    """Seconds: what a card's bring-up took, what of it the protocol asks for, the same with the card's answers
    as late as they really were, and the links' part of it."""

    taken: float
    floor: float
    answered_floor: float
    links: float
    link_exchanges: int


def run(bench):
    rows, links = [], {}
    for latency in bench.pick((2, 20), (2,)):
        for onus in bench.pick((2, 8, 64, 248), (8,)):
            turns = [bring_up(bench, onus, latency) for _ in range(bench.pick(5, 1))]
            rows += summary(onus, latency, turns)
            links[latency, onus] = [median(card.links for card in turn) / onus for turn in turns]
    for latency in bench.pick((2, 20), ()):
        rows.append(Row(f"a link's time at 248 ONUs a card, latency {latency} ms", "at 64",
                        ratios(links[latency, 248], links[latency, 64]), at_most=1.05))
    return rows


def summary(onus, latency, turns):
    last = [max(turn, key=lambda card: card.taken) for turn in turns]
    exchanges = [sum(card.link_exchanges for card in turn) / (CARDS * onus) for turn in turns]
    return [Row(f"{onus} ONUs a card, latency {latency} ms", "the protocol's exchanges, pauses and passes",
                [card.taken / card.floor for card in last], at_most=1.10,
                details={"seconds": median(card.taken for card in last),
                         "floor s": median(card.floor for card in last),
                         "against the answers as they came":
                             median(card.taken / card.answered_floor for card in last),
                         "exchanges a link": median(exchanges)})]


def bring_up(bench, onus, latency):
    """One bring-up of eight factory-fresh cards; what each card's took. `onus` is even: half of them at each
    of a card's ports."""
    say(f"  {onus} ONUs a card, latency {latency} ms")
    folder = bench.new_folder()
    # A card that comes without its storage on needs no reset, so the quick run is spared its time-outs.
    simulator = bench.simulator("--onus", onus // 2, "--latency", f"{latency}ms", "--journal-file",
                                folder / "journal", *bench.pick((), ("--nvs", "off")))
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
    return [card_time(exchanges[card], start, ends[card], latency / 1e3) for card in sorted(ends)]


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


def card_time(exchanges, start, end, latency):
    """Counts what the card was asked until its last ONU was reported."""
    whole = [exchange for exchange in exchanges
             if exchange.sent < end and (exchange.answered is None or exchange.answered <= end)]
    idle = min(whole[0].sent - start, IDLE)
    floor = idle + sum(floor_of(exchange, latency, end) for exchange in whole)
    late = sum(exchange.answered - exchange.sent - latency for exchange in whole
               if exchange.answered is not None)
    links = [exchange for exchange in whole if exchange.id in LINK_REQUESTS]
    return CardTime(end - start, floor, floor + late, sum(own_time(exchange, end) for exchange in links), len(links))


def floor_of(exchange, latency, end):
    """What the design lets pass from this request to the next: the card's latency, or the limit of a request
    that wasn't answered; then as many whole pauses as there were."""
    until = min(exchange.next or end, end)
    if exchange.answered is not None:
        waited, over = latency, exchange.answered
    else:
        waited = math.floor(exchange.sent) + RESPONSE - exchange.sent
        waited = min(waited, max(until - exchange.sent, 0))
        over = exchange.sent + waited
    return waited + math.floor(max(until - over, 0) / PASS) * PASS


def own_time(exchange, end):
    """From the request to the next one, without the pauses behind a pass."""
    until = min(exchange.next or end, end)
    over = exchange.answered or exchange.sent
    return until - exchange.sent - math.floor(max(until - over, 0) / PASS) * PASS
