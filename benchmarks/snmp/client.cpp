// Net-SNMP's library as a peer of the daemon's exchange: the same work on the same loopback.

#include <cstdio>
#include <list>

#include "benchmarks/snmp/BareRequest.h"
#include "benchmarks/snmp/SnmpPeer.h"
#include "benchmarks/support/Arguments.h"
#include "benchmarks/support/Clock.h"
#include "benchmarks/support/ResidentMemory.h"

namespace {

using namespace ponmgr::bench;

constexpr unsigned kPeers = 8;

void print(const Cost& cost) {
    std::printf("{\"wall_ns\":%lld,\"cpu_ns\":%lld,\"switches\":%lld}\n",
                static_cast<long long>(cost.wall), static_cast<long long>(cost.cpu),
                static_cast<long long>(cost.switches));
    std::fflush(stdout);
}

void runRounds(const std::string& agent, unsigned times, unsigned rounds) {
    SnmpPeer peer(agent);
    for (unsigned round = 0; round < rounds; round++) {
        print(costOf([&] { peer.get(times); }));
    }
}

void runBareRounds(const std::string& address, std::uint16_t port, unsigned times,
                   unsigned rounds) {
    BareRequest request(address, port);
    for (unsigned round = 0; round < rounds; round++) {
        print(costOf([&] { request.get(times); }));
    }
}

void hold(const std::string& agent, unsigned rows) {
    std::list<SnmpPeer> peers;
    for (unsigned i = 0; i < kPeers; i++) {
        peers.emplace_back(agent).get(1);
    }
    const std::size_t base = residentBytes();
    for (SnmpPeer& peer : peers) {
        peer.holdRows(rows);
    }
    std::printf("{\"rows\":%u,\"base_bytes\":%zu,\"resident_bytes\":%zu}\n", kPeers * rows, base,
                residentBytes());
}

void run(int count, const char* const* words) {
    const Arguments arguments(count, words, {"rounds", "bare", "hold"},
                              {"--agent", "--port", "--requests", "--rounds", "--rows"});
    constexpr unsigned kMost = 1'000'000;
    const std::string& address = arguments.text("--agent");
    const unsigned port = arguments.number("--port", 1, 65535);
    const std::string agent = address + ":" + std::to_string(port);
    if (arguments.getMode() == "bare") {
        runBareRounds(address, static_cast<std::uint16_t>(port),
                      arguments.number("--requests", 1, kMost),
                      arguments.number("--rounds", 1, kMost));
        return;
    }
    SnmpPeer::initialiseLibrary();
    if (arguments.getMode() == "rounds") {
        runRounds(agent, arguments.number("--requests", 1, kMost),
                  arguments.number("--rounds", 1, kMost));
    } else {
        hold(agent, arguments.number("--rows", 1, kMost));
    }
}

}  // namespace

int main(int count, char** words) {
    return runProgram("bench-snmp", &run, count, words);
}
