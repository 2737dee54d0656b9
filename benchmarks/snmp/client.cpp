// Net-SNMP's library as a peer of the daemon's exchange: the same work on the same loopback.

#include <cstdio>
#include <list>

#include "benchmarks/snmp/SnmpPeer.h"
#include "benchmarks/support/Arguments.h"
#include "benchmarks/support/Clock.h"
#include "benchmarks/support/ResidentMemory.h"

namespace {

using namespace ponmgr::bench;

constexpr unsigned kPeers = 8;

void runRounds(const std::string& agent, unsigned times, unsigned rounds) {
    SnmpPeer peer(agent);
    for (unsigned round = 0; round < rounds; round++) {
        const Cost cost = costOf([&] { peer.get(times); });
        std::printf("{\"wall_ns\":%lld,\"cpu_ns\":%lld}\n", static_cast<long long>(cost.wall),
                    static_cast<long long>(cost.cpu));
        std::fflush(stdout);
    }
}

void hold(const std::string& agent, unsigned rows) {
    std::list<SnmpPeer> peers;
    for (unsigned i = 0; i < kPeers; i++) {
        peers.emplace_back(agent).holdRows(rows);
    }
    std::printf("{\"rows\":%u,\"resident_bytes\":%zu}\n", kPeers * rows, residentBytes());
}

void run(int count, const char* const* words) {
    const Arguments arguments(count, words, {"rounds", "hold"},
                              {"--agent", "--requests", "--rounds", "--rows"});
    constexpr unsigned kMost = 1'000'000;
    SnmpPeer::initialiseLibrary();
    if (arguments.getMode() == "rounds") {
        runRounds(arguments.text("--agent"), arguments.number("--requests", 1, kMost),
                  arguments.number("--rounds", 1, kMost));
    } else {
        hold(arguments.text("--agent"), arguments.number("--rows", 1, kMost));
    }
}

}  // namespace

int main(int count, char** words) {
    return runProgram("bench-snmp", &run, count, words);
}
