// The daemon's exchange with a card beside its floors, and what it holds for its cards.

#include <cstdio>
#include <functional>
#include <vector>

#include "benchmarks/exchange/BareFloor.h"
#include "benchmarks/exchange/HeldRecords.h"
#include "benchmarks/exchange/LostSignals.h"
#include "benchmarks/exchange/ProductExchange.h"
#include "benchmarks/exchange/ThreadedFloor.h"
#include "benchmarks/support/Arguments.h"
#include "benchmarks/support/Clock.h"
#include "benchmarks/support/ResidentMemory.h"

namespace {

using namespace ponmgr::bench;

constexpr unsigned kMost = 1'000'000;

struct Contender {
    const char* name;
    std::function<void(unsigned)> exchange;
};

/// One line a round, in which each contender has had its turn; every round begins with another one.
void runRounds(const std::vector<Contender>& contenders, unsigned times, unsigned rounds) {
    for (unsigned round = 0; round < rounds; round++) {
        const char* separator = "{";
        for (unsigned turn = 0; turn < contenders.size(); turn++) {
            const Contender& contender = contenders[(round + turn) % contenders.size()];
            const Cost cost = costOf([&] { contender.exchange(times); });
            std::printf("%s\"%s\":{\"wall_ns\":%lld,\"cpu_ns\":%lld}", separator, contender.name,
                        static_cast<long long>(cost.wall), static_cast<long long>(cost.cpu));
            separator = ",";
        }
        std::printf("}\n");
        std::fflush(stdout);
    }
}

/// The daemon's exchange, between its floors or alone.
void measure(const Arguments& arguments, bool withFloors) {
    const std::string& source = arguments.text("--source");
    const std::string& card = arguments.text("--card");
    BareFloor bare(source, ipv4(card, kCardPort));
    ThreadedFloor threaded(source, ipv4(card, kCardPort));
    ProductExchange product(source, card);
    std::vector<Contender> contenders{
        {"product", [&product](unsigned count) { product.exchange(count); }}};
    if (withFloors) {
        contenders.push_back({"bare", [&bare](unsigned count) { bare.exchange(count); }});
        contenders.push_back(
            {"threaded", [&threaded](unsigned count) { threaded.exchange(count); }});
    }
    runRounds(contenders, arguments.number("--exchanges", 1, kMost),
              arguments.number("--rounds", 1, kMost));
}

void reportHeld(std::size_t onus) {
    std::printf("{\"rows\":%zu,\"resident_bytes\":%zu}\n", onus, residentBytes());
}

void run(int count, const char* const* words) {
    const Arguments arguments(
        count, words, {"rounds", "product", "lost", "hold"},
        {"--source", "--card", "--base", "--exchanges", "--rounds", "--busy-threads"});
    const std::string& source = arguments.text("--source");
    if (arguments.getMode() == "rounds" || arguments.getMode() == "product") {
        measure(arguments, arguments.getMode() == "rounds");
    } else if (arguments.getMode() == "lost") {
        const unsigned lost = countLostSignals(source, arguments.text("--card"),
                                               arguments.number("--exchanges", 1, kMost),
                                               arguments.number("--busy-threads", 0, 64));
        std::printf("{\"lost\":%u}\n", lost);
    } else {
        holdRecords(source, arguments.text("--base"), &reportHeld);
    }
}

}  // namespace

int main(int count, char** words) {
    return runProgram("bench-exchange", &run, count, words);
}
