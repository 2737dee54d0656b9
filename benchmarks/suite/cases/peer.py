"""Net-SNMP's library on the same work: synchronous requests over UDP to an agent as late as the card."""

from statistics import median

from ..rows import Row, ratios
from ..surroundings import CARDS, SOURCE, say
from support.waiting import wait_for
from .exchange import one_card

NAME = "peer"
ANSWERS = "the exchange beside Net-SNMP's: speed, processor time, memory"
IN_QUICK = False

AGENT_PORT = 1161
RELAY_PORT = 2161
LATENCY_MS = 2
REQUESTS = 1000
ROWS = 248
TABLE = ".1.3.6.1.4.1.8072.9999.9999.1"
# As long as what the daemon keeps of an ONU.
TEXT = "00:0d:b6:03:00:07 1 1 41.50 3.30 12.00 2.10 -14.20 4000 4001 4002"


def run(bench):
    start_agent(bench)
    simulator = one_card(bench, f"{LATENCY_MS}ms")
    ours, theirs = [], []
    for turn in range(bench.runs):
        say(f"  pair {turn + 1}")
        for side in (ours, theirs) if turn % 2 == 0 else (theirs, ours):
            side.append(our_turn(bench) if side is ours else their_turn(bench))
    bench.stop(simulator)
    return [speed(ours, theirs), processor(ours, theirs), memory(bench)]


def start_agent(bench):
    folder = bench.new_folder()
    lines = [f"agentaddress udp:{SOURCE}:{AGENT_PORT}", "rocommunity public", "sysServices 0"]
    lines += [f'override {TABLE}.{row} octet_str "{TEXT}"' for row in range(1, ROWS + 1)]
    (folder / "snmpd.conf").write_text("\n".join(lines) + "\n")
    agent = bench.start("snmpd", "-f", "-Lo", "-C", "-c", folder / "snmpd.conf", "-I",
                        "override,vacm_conf,snmpv3,usmConf", "-p", folder / "pid",
                        program="/usr/sbin/snmpd")
    agent.wait_for_line("NET-SNMP version", 30)
    bench.start("bench-relay", "relay", "--listen", SOURCE, "--port", RELAY_PORT, "--agent", SOURCE,
                "--agent-port", AGENT_PORT, "--delay-us", LATENCY_MS * 1000)
    wait_for(lambda: answers(bench), 30, "the agent answers through the relay")


def answers(bench):
    try:
        return bench.ask("bench-snmp", "rounds", "--agent", f"{SOURCE}:{RELAY_PORT}", "--requests", 1,
                         "--rounds", 1)
    except RuntimeError:
        return None


def our_turn(bench):
    return bench.ask("bench-exchange", "product", "--source", SOURCE, "--card", CARDS + "1",
                     "--exchanges", REQUESTS, "--rounds", 1)[0]["product"]


def their_turn(bench):
    return bench.ask("bench-snmp", "rounds", "--agent", f"{SOURCE}:{RELAY_PORT}", "--requests", REQUESTS,
                     "--rounds", 1)[0]


def values(turns, clock):
    return [turn[clock] for turn in turns]


def speed(ours, theirs):
    our_times, their_times = values(ours, "wall_ns"), values(theirs, "wall_ns")
    return Row(f"requests a second, latency {LATENCY_MS} ms on both sides", "Net-SNMP",
               ratios(their_times, our_times),
               details={"ours": REQUESTS * 1e9 / median(our_times),
                        "Net-SNMP's": REQUESTS * 1e9 / median(their_times)})


def processor(ours, theirs):
    our_times, their_times = values(ours, "cpu_ns"), values(theirs, "cpu_ns")
    return Row("processor time of a request", "Net-SNMP", ratios(our_times, their_times), at_most=0.5,
               details={"ours": median(our_times) / REQUESTS / 1e3,
                        "Net-SNMP's": median(their_times) / REQUESTS / 1e3, "unit": "µs"})


def memory(bench):
    simulator = bench.simulator("--onus", ROWS // 2, "--configured", "--optics-interval", "0",
                                "--latency", f"{LATENCY_MS}ms")
    ours = [held(bench, "bench-exchange", "--source", SOURCE, "--base", CARDS)
            for _ in range(bench.runs)]
    bench.stop(simulator)
    theirs = [held(bench, "bench-snmp", "--agent", f"{SOURCE}:{AGENT_PORT}", "--rows", ROWS)
              for _ in range(bench.runs)]
    mebibyte = 1 << 20
    return Row(f"resident memory, 8 peers of {ROWS} rows", "Net-SNMP", ratios(ours, theirs), at_most=1.0,
               details={"ours": median(ours) / mebibyte, "Net-SNMP's": median(theirs) / mebibyte,
                        "unit": "MiB"})


def held(bench, program, *words):
    told = bench.ask(program, "hold", *words)[0]
    if told["rows"] != 8 * ROWS:
        raise RuntimeError(f"{program} holds {told['rows']} rows, not {8 * ROWS}")
    return told["resident_bytes"]
