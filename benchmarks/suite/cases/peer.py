"""Net-SNMP's library on the same work: synchronous requests over UDP, answered as late as the card's."""

from dataclasses import dataclass
from statistics import median

from ..rows import Row, ratios
from ..surroundings import CARDS, SOURCE, say
from support.waiting import wait_for
from .exchange import one_card

NAME = "peer"
ANSWERS = "the exchange beside Net-SNMP's: speed, processor time, memory"
IN_QUICK = True

CARD = CARDS + "1"
CARD_PORT = 14113
# The card as it is met behind its relay, on the port that cards have.
RELAYED_CARD = "127.0.2.1"
AGENT_PORT = 1161
RELAYED_AGENT_PORT = 2161
LATENCY_MS = 2
PEERS = 8
ROWS = 248
TABLE = ".1.3.6.1.4.1.8072.9999.9999.1"
# As long as what the daemon keeps of an ONU.
TEXT = "00:0d:b6:03:00:07 1 1 41.50 3.30 12.00 2.10 -14.20 4000 4001 4002"


@dataclass
class Turns:
    """What the programs told of one side, turn by turn: the client's requests, and those of a bare loop that tell
    how late the answers are."""

    client: list
    bare: list

    def of_client(self, key):
        return [turn[key] for turn in self.client]

    def of_bare(self, key):
        return [turn[key] for turn in self.bare]


def run(bench):
    start_agent(bench)
    return behind_relays(bench) + answered_at_once(bench) + memory(bench)


def start_agent(bench):
    folder = bench.new_folder()
    lines = [f"agentaddress udp:{SOURCE}:{AGENT_PORT}", "rocommunity public"]
    lines += [f'override {TABLE}.{row} octet_str "{TEXT}"' for row in range(1, ROWS + 1)]
    (folder / "snmpd.conf").write_text("\n".join(lines) + "\n")
    agent = bench.start("snmpd", "-f", "-Lo", "-C", "-c", folder / "snmpd.conf", "-I",
                        "override,vacm_conf,snmpv3,usmConf", "-p", folder / "pid",
                        program="/usr/sbin/snmpd")
    agent.wait_for_line("NET-SNMP version", 30)
    wait_for(lambda: answers(their_turn, bench, AGENT_PORT, 1), 30, "the agent answers")


def start_relay(bench, listen, port, target, target_port):
    return bench.start("bench-relay", "relay", "--listen", listen, "--port", port, "--agent", target,
                       "--agent-port", target_port, "--delay-us", LATENCY_MS * 1000)


def answers(turn, *words):
    try:
        return turn(*words)
    except RuntimeError:
        return None


def behind_relays(bench):
    """Card and agent answer at once, and a relay before each holds their answers back until the latency is over:
    equally late on both sides."""
    count = bench.pick(1000, 100)
    simulator = one_card(bench, "0")
    relays = [start_relay(bench, RELAYED_CARD, CARD_PORT, CARD, CARD_PORT),
              start_relay(bench, SOURCE, RELAYED_AGENT_PORT, SOURCE, AGENT_PORT)]
    wait_for(lambda: answers(our_bare_turn, bench, RELAYED_CARD, 1), 30, "the card answers behind its relay")
    wait_for(lambda: answers(their_bare_turn, bench, RELAYED_AGENT_PORT, 1), 30,
             "the agent answers behind its relay")
    ours, theirs = pairs(bench, RELAYED_CARD, RELAYED_AGENT_PORT, count)
    for process in (*relays, simulator):
        bench.stop(process)
    return [latency(ours, theirs, count), speed(ours, theirs, count, f"latency {LATENCY_MS} ms on both sides"),
            beyond("ours", ours, count), beyond("Net-SNMP's", theirs, count),
            processor(ours, theirs, count), least(ours, theirs, count), switches(ours, theirs, count)]


def answered_at_once(bench):
    """Neither relay nor latency: an answer of ours may come before the wait for it, and is asked for again then."""
    count = bench.pick(200, 20)
    simulator = one_card(bench, "0")
    ours, theirs = pairs(bench, CARD, AGENT_PORT, count)
    bench.stop(simulator)
    return [speed(ours, theirs, count, "answered at once")]


def turns(bench):
    return bench.pick(bench.runs, 2)


def pairs(bench, card, agent_port, count):
    """Both sides by turns, in an order that changes."""
    ours, theirs = Turns([], []), Turns([], [])

    def our_pair():
        ours.bare.append(our_bare_turn(bench, card, count))
        ours.client.append(our_turn(bench, card, count))

    def their_pair():
        theirs.bare.append(their_bare_turn(bench, agent_port, count))
        theirs.client.append(their_turn(bench, agent_port, count))

    for turn in range(turns(bench)):
        say(f"  pair {turn + 1}")
        for side in (our_pair, their_pair) if turn % 2 == 0 else (their_pair, our_pair):
            side()
    return ours, theirs


def our_turn(bench, card, count, mode="product"):
    return bench.ask("bench-exchange", mode, "--source", SOURCE, "--card", card, "--exchanges", count,
                     "--rounds", 1)[0][mode]


def our_bare_turn(bench, card, count):
    return our_turn(bench, card, count, mode="bare")


def their_turn(bench, port, count, mode="rounds"):
    return bench.ask("bench-snmp", mode, "--agent", SOURCE, "--port", port, "--requests", count,
                     "--rounds", 1)[0]


def their_bare_turn(bench, port, count):
    return their_turn(bench, port, count, mode="bare")


def both(ours, theirs, unit):
    return {"ours": median(ours), "Net-SNMP's": median(theirs), "of": unit}


def microseconds(times, count):
    return [time / count / 1e3 for time in times]


def latency(ours, theirs, count):
    """Whether the two sides are asked to do the same at all."""
    our_times, their_times = (microseconds(side.of_bare("wall_ns"), count) for side in (ours, theirs))
    return Row("latency behind the relays, a bare loop's", "the agent's", ratios(our_times, their_times),
               details=both(our_times, their_times, "µs"))


def speed(ours, theirs, count, how):
    our_speeds, their_speeds = ([count * 1e9 / time for time in side.of_client("wall_ns")]
                                for side in (ours, theirs))
    return Row(f"requests a second, {how}", "Net-SNMP", ratios(our_speeds, their_speeds),
               details={**both(our_speeds, their_speeds, "a second"),
                        "asked again": sum(ours.of_client("asked_again")),
                        "given up": sum(ours.of_client("given_up")), "requests": count * len(our_speeds)})


def beyond(whose, turns, count):
    """What the client adds to the latency that a bare loop found just before."""
    return Row(f"time of a request beyond the bare loop's, {whose}", "",
               [client - bare for client, bare in zip(microseconds(turns.of_client("wall_ns"), count),
                                                      microseconds(turns.of_bare("wall_ns"), count),
                                                      strict=True)], "µs")


def processor(ours, theirs, count):
    our_times, their_times = (microseconds(side.of_client("cpu_ns"), count) for side in (ours, theirs))
    return Row("processor time of a request", "Net-SNMP", ratios(our_times, their_times), at_most=0.5,
               details=both(our_times, their_times, "µs"))


def least(ours, theirs, count):
    """What sending and receiving alone takes of it: no client with these system calls gets below."""
    bare, their_times = (microseconds(times, count) for times in (ours.of_bare("cpu_ns"), theirs.of_client("cpu_ns")))
    return Row("processor time of a bare loop's request", "Net-SNMP", ratios(bare, their_times),
               details=both(bare, their_times, "µs"))


def switches(ours, theirs, count):
    ours, theirs = ([number / count for number in side.of_client("switches")] for side in (ours, theirs))
    return Row("switches of threads for a request", "Net-SNMP", ratios(ours, theirs),
               details=both(ours, theirs, "switches"))


def memory(bench):
    rows = bench.pick(ROWS, 16)
    simulator = bench.simulator("--onus", rows // 2, "--configured", "--optics-interval", "0",
                                "--latency", f"{LATENCY_MS}ms")
    ours = [held(bench, rows, "bench-exchange", "--source", SOURCE, "--base", CARDS)
            for _ in range(turns(bench))]
    bench.stop(simulator)
    theirs = [held(bench, rows, "bench-snmp", "--agent", SOURCE, "--port", AGENT_PORT, "--rows", rows)
              for _ in range(turns(bench))]
    return memory_rows(ours, theirs, rows)


def memory_rows(ours, theirs, rows):
    """All of it, and apart: what the process is before the first row, and what a row adds."""
    mebibyte = 1 << 20

    def row(what, value, unit, **goal):
        our_values, their_values = ([value(told) for told in side] for side in (ours, theirs))
        return Row(what, "Net-SNMP", ratios(our_values, their_values),
                   details=both(our_values, their_values, unit), **goal)

    return [row(f"resident memory, {PEERS} peers of {rows} rows", lambda told: told["resident_bytes"] / mebibyte,
                "MiB", at_most=1.0),
            row("of this, before the first row", lambda told: told["base_bytes"] / mebibyte, "MiB"),
            row("of this, each row", lambda told: (told["resident_bytes"] - told["base_bytes"]) / told["rows"],
                "bytes")]


def held(bench, rows, program, *words):
    told = bench.ask(program, "hold", *words)[0]
    if told["rows"] != PEERS * rows:
        raise RuntimeError(f"{program} holds {told['rows']} rows, not {PEERS * rows}")
    return told
