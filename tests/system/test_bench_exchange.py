"""What ./bench lays above what when it compares the exchange with its floors and with the peer, and what it asks
of the simulator: on answers of its programs made up by hand."""

import sys

import pytest
from conftest import ROOT

sys.path.insert(0, str(ROOT))

from benchmarks.suite import processes  # noqa: E402
from benchmarks.suite.cases import exchange, peer, simulator  # noqa: E402


class PlayedBench:
    """Gives each program's answers in turn, and keeps what was asked and what is still running."""

    runs = 3

    def __init__(self, quick=True, **answers):
        self.quick = quick
        self.answers = {name: iter(told) for name, told in answers.items()}
        self.asked = []
        self.running = []

    def pick(self, full, quick):
        return quick if self.quick else full

    def simulator(self, *words):
        self.running.append(words)
        return words

    def stop(self, process):
        self.running.remove(process)

    def ask(self, program, mode, *words):
        self.asked.append((program, mode, dict(zip(words[::2], words[1::2]))))
        return next(self.answers[f"{program}_{mode}".replace("-", "_")])


# The exchange and its floors.


def took(wall, cpu, again=0):
    return {"wall_ns": wall, "cpu_ns": cpu, "asked_again": again}


ROUNDS = [{"bare": took(200e6, 10e6), "threaded": took(210e6, 30e6), "product": took(220e6, 45e6)},
          {"bare": took(100e6, 20e6), "threaded": took(210e6, 40e6, 1), "product": took(400e6, 20e6, 3)},
          {"bare": took(400e6, 40e6), "threaded": took(210e6, 20e6), "product": took(400e6, 30e6, 2)}]


def beside_floors():
    bench = PlayedBench(bench_exchange_rounds=[ROUNDS])
    rows = exchange.beside_floors(bench, 1)
    assert bench.running == []
    return rows


def test_the_product_is_laid_above_its_floors():
    wall, threaded_wall, cpu, threaded = beside_floors()
    assert wall.against == "bare floor" and wall.runs == pytest.approx([1.1, 4.0, 1.0])
    assert threaded_wall.against == "bare floor"
    assert threaded_wall.runs == pytest.approx([1.05, 2.1, 0.525])
    assert cpu.against == "threaded floor" and cpu.runs == pytest.approx([1.5, 0.5, 1.5])
    assert threaded.against == "bare floor" and threaded.runs == pytest.approx([3.0, 2.0, 0.5])


def test_the_exchange_has_its_goals():
    assert [row.goal() for row in beside_floors()] == ["at most 1.03", "", "at most 1.50", ""]


def test_an_exchange_below_its_floor_is_not_credible():
    faster = [{side: took(1e6, 1e6) for side in ("bare", "threaded", "product")}]
    faster[0]["product"] = took(0.96e6, 0.96e6)
    rows = exchange.beside_floors(PlayedBench(bench_exchange_rounds=[faster]), 1)
    assert [row.is_credible() for row in rows] == [False, True, False, True]


def test_the_times_of_an_exchange_are_medians_in_microseconds():
    wall, threaded_wall, cpu, threaded = beside_floors()
    assert wall.details == {"µs": 2000.0, "floor µs": 1000.0, "asked again": 5}
    assert cpu.details == {"µs": 150.0, "floor µs": 150.0, "asked again": 5}
    assert threaded.details["asked again"] == 1


def test_answers_that_were_lost_are_told_from_late_ones():
    found = [{"lost": 3, "late": 1, "given_up": 0}, {"lost": 0, "late": 4, "given_up": 1}]
    row = exchange.lost_row(2, 4, 100, found)
    assert row.runs == [0.03, 0.0]
    assert row.details == {"of": 200, "lost": 3, "late": 5, "given up": 1}
    assert "latency 2 ms" in row.what and "4 cores loaded" in row.what
    assert "idle" in exchange.lost_row(0, 0, 100, found).what


# The peer.


def turns(key, client, bare):
    return peer.Turns([{key: value} for value in client], [{key: value} for value in bare])


def test_the_latency_is_that_of_the_bare_loops():
    row = peer.latency(turns("wall_ns", [9e9], [2e6]), turns("wall_ns", [9e9], [4e6]), 1000)
    assert row.runs == [0.5]
    assert row.details == {"ours": 2.0, "Net-SNMP's": 4.0, "of": "µs"}


def speed():
    ours = peer.Turns([{"wall_ns": 1e9, "asked_again": 2, "given_up": 1},
                       {"wall_ns": 2e9, "asked_again": 3, "given_up": 0}], [])
    theirs = peer.Turns([{"wall_ns": 2e9}, {"wall_ns": 1e9}], [])
    return peer.speed(ours, theirs, 1000, "at once")


def test_who_is_faster_has_the_higher_speed():
    assert speed().runs == [2.0, 0.5]
    assert speed().what == "requests a second, at once"


def test_the_speed_tells_what_was_asked_again_and_what_was_given_up():
    assert speed().details == {"ours": 750.0, "Net-SNMP's": 750.0, "of": "a second", "asked again": 5,
                               "given up": 1, "requests": 2000}


def test_what_a_client_adds_is_beyond_its_own_bare_loop():
    row = peer.beyond("ours", turns("wall_ns", [3000e3, 2500e3], [2000e3, 2250e3]), 10)
    assert row.runs == [100.0, 25.0]
    assert row.unit == "µs"


@pytest.mark.parametrize("row, key, met", [(peer.processor, "cpu_ns", True), (peer.switches, "switches", None)])
def test_who_takes_less_has_the_lower_ratio(row, key, met):
    found = row(turns(key, [1e6, 1e6, 2e6], [9e9] * 3), turns(key, [4e6, 2e6, 1e6], [9e9] * 3), 1000)
    assert found.runs == [0.25, 0.5, 2.0]
    assert found.is_met() is met


def test_the_least_is_our_bare_loop_beside_their_client():
    row = peer.least(turns("cpu_ns", [9e9], [1e6]), turns("cpu_ns", [4e6], [9e9]), 1000)
    assert row.runs == [0.25]
    assert (row.details["ours"], row.details["Net-SNMP's"]) == (1.0, 4.0)


def test_the_processors_goal_is_half_of_the_peers_time():
    row = peer.processor(turns("cpu_ns", [1.01e6], []), turns("cpu_ns", [2e6], []), 1000)
    assert row.is_met() is False
    assert row.details == {"ours": pytest.approx(1.01), "Net-SNMP's": 2.0, "of": "µs"}


MEBIBYTE = 1 << 20


def test_memory_is_told_whole_and_apart():
    ours = [{"resident_bytes": 8 * MEBIBYTE, "base_bytes": 2 * MEBIBYTE, "rows": 2048}]
    theirs = [{"resident_bytes": 16 * MEBIBYTE, "base_bytes": 12 * MEBIBYTE, "rows": 2048}]
    whole, base, a_row = peer.memory_rows(ours, theirs, 256)
    assert whole.what == "resident memory, 8 peers of 256 rows"
    assert (whole.runs, whole.is_met()) == ([0.5], True)
    assert whole.details == {"ours": 8.0, "Net-SNMP's": 16.0, "of": "MiB"}
    assert (base.runs, base.is_met()) == ([2 / 12], None)
    assert base.details == {"ours": 2.0, "Net-SNMP's": 12.0, "of": "MiB"}
    assert (a_row.runs, a_row.is_met()) == ([1.5], None)
    assert a_row.details == {"ours": 3072.0, "Net-SNMP's": 2048.0, "of": "bytes"}


def test_more_memory_than_the_peer_misses_the_goal():
    told = {"resident_bytes": 101, "base_bytes": 10, "rows": 1}
    assert peer.memory_rows([told], [{**told, "resident_bytes": 100}], 1)[0].is_met() is False


@pytest.mark.parametrize("rows", [8 * 16 - 1, 8 * 16 + 1, 0])
def test_a_client_that_holds_another_number_of_rows_fails(rows):
    bench = PlayedBench(bench_snmp_hold=[[{"rows": rows, "resident_bytes": 1}]])
    with pytest.raises(RuntimeError, match=f"bench-snmp holds {rows} rows, not 128"):
        peer.held(bench, 16, "bench-snmp")


def test_a_client_that_holds_all_rows_is_told():
    told = {"rows": 128, "resident_bytes": 1}
    assert peer.held(PlayedBench(bench_snmp_hold=[[told]]), 16, "bench-snmp") == told


def test_both_sides_go_first_by_turns():
    order = []

    class Bench(PlayedBench):
        def ask(self, program, mode, *words):
            order.append((program, mode))
            return super().ask(program, mode, *words)

    def numbered(mode, start):
        return [[{mode: {"wall_ns": start + turn}}] for turn in range(3)]

    bench = Bench(quick=False, bench_exchange_bare=numbered("bare", 10), bench_exchange_product=numbered("product", 20),
                  bench_snmp_bare=[[{"wall_ns": 30 + turn}] for turn in range(3)],
                  bench_snmp_rounds=[[{"wall_ns": 40 + turn}] for turn in range(3)])
    ours, theirs = peer.pairs(bench, "127.0.2.1", 2161, 50)
    we, they = ([("bench-exchange", "bare"), ("bench-exchange", "product")],
                [("bench-snmp", "bare"), ("bench-snmp", "rounds")])
    assert order == we + they + they + we + we + they
    assert (ours.of_bare("wall_ns"), ours.of_client("wall_ns")) == ([10, 11, 12], [20, 21, 22])
    assert (theirs.of_bare("wall_ns"), theirs.of_client("wall_ns")) == ([30, 31, 32], [40, 41, 42])
    assert {words["--card"] for program, _, words in bench.asked if program == "bench-exchange"} == {"127.0.2.1"}
    assert {words["--port"] for program, _, words in bench.asked if program == "bench-snmp"} == {2161}


# The simulator.


def test_the_simulator_is_judged_by_its_latency_its_answers_and_its_memory(monkeypatch):
    monkeypatch.setattr(PlayedBench, "simulator", lambda self, *words: type("Simulator", (), {"pid": 4711}))
    monkeypatch.setattr(processes, "resident_bytes", lambda pid: {4711: 100_000_001}[pid])
    load = [[{"median_ns": 2.1e6 + turn * 1e5, "p99_ns": 4e6, "sent": 100, "answered": 100 - turn}]
            for turn in range(5)]
    median, tail, answers, memory = simulator.run(PlayedBench(quick=False, bench_load_load=load))
    assert median.runs == pytest.approx([1.05, 1.1, 1.15, 1.2, 1.25]) and median.is_met() is False
    assert tail.runs == [2.0] * 5 and tail.is_met() is None and tail.is_credible()
    assert answers.runs == [1.0, 0.99, 0.98, 0.97, 0.96] and answers.is_met() is False
    assert memory.runs == pytest.approx([100.000001]) and memory.is_met() is False
