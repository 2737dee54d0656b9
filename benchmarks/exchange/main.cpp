// The daemon's exchange with a card beside its floors, and what it holds for its cards.

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "benchmarks/exchange/BareFloor.h"
#include "benchmarks/exchange/HeldRecords.h"
#include "benchmarks/exchange/LostSignals.h"
#include "benchmarks/exchange/ProductExchange.h"
#include "benchmarks/exchange/ThreadedFloor.h"
#include "benchmarks/support/Arguments.h"
#include "benchmarks/support/Clock.h"
#include "tk/SocketHelper.h"

namespace {

using namespace ponmgr::bench;

constexpr unsigned kMost = 1'000'000;

struct Contender {
    const char* name;
    std::function<Unnoticed(unsigned)> exchange;
};

/// One line a round, in which each contender has had its turn; every round begins with another one.
void runRounds(const std::vector<Contender>& contenders, unsigned times, unsigned rounds) {
    for (unsigned round = 0; round < rounds; round++) {
        const char* separator = "{";
        for (unsigned turn = 0; turn < contenders.size(); turn++) {
            const Contender& contender = contenders[(round + turn) % contenders.size()];
            Unnoticed unnoticed;
            const Cost cost = costOf([&] { unnoticed = contender.exchange(times); });
            std::printf(
                "%s\"%s\":{\"wall_ns\":%lld,\"cpu_ns\":%lld,\"switches\":%lld,"
                "\"asked_again\":%u,\"given_up\":%u}",
                separator, contender.name, static_cast<long long>(cost.wall),
                static_cast<long long>(cost.cpu), static_cast<long long>(cost.switches),
                unnoticed.askedAgain, unnoticed.givenUp);
            separator = ",";
        }
        std::printf("}\n");
        std::fflush(stdout);
    }
}

/// A floor waits for its answer whenever that comes, so it never asks again.
template <typename Floor>
Contender floorOf(const char* name, Floor& floor) {
    return {name, [&floor](unsigned count) {
                floor.exchange(count);
                return Unnoticed{};
            }};
}

void runRounds(const Arguments& arguments, const std::vector<Contender>& contenders) {
    runRounds(contenders, arguments.number("--exchanges", 1, kMost),
              arguments.number("--rounds", 1, kMost));
}

void measureBare(const Arguments& arguments) {
    BareFloor bare(arguments.text("--source"), ipv4(arguments.text("--card"), ponmgr::kTkPort));
    runRounds(arguments, {floorOf("bare", bare)});
}

void measureProduct(const Arguments& arguments) {
    ProductExchange product(arguments.text("--source"), arguments.text("--card"));
    runRounds(arguments,
              {{"product", [&product](unsigned count) { return product.exchange(count); }}});
}

/// The daemon's exchange between its floors.
void measureAll(const Arguments& arguments) {
    const std::string& source = arguments.text("--source");
    const std::string& card = arguments.text("--card");
    BareFloor bare(source, ipv4(card, ponmgr::kTkPort));
    ThreadedFloor threaded(source, ipv4(card, ponmgr::kTkPort));
    ProductExchange product(source, card);
    runRounds(arguments,
              {{"product", [&product](unsigned count) { return product.exchange(count); }},
               floorOf("bare", bare),
               floorOf("threaded", threaded)});
}

void countLost(const Arguments& arguments) {
    const AskedAgain found = countAskedAgain(arguments.text("--source"), arguments.text("--card"),
                                             arguments.number("--exchanges", 1, kMost),
                                             arguments.number("--busy-threads", 0, 64));
    std::printf("{\"lost\":%u,\"late\":%u,\"given_up\":%u}\n", found.lost, found.late,
                found.givenUp);
}

void hold(const Arguments& arguments) {
    const HeldMemory held = holdRecords(arguments.text("--source"), arguments.text("--base"));
    std::printf("{\"rows\":%zu,\"base_bytes\":%zu,\"resident_bytes\":%zu}\n", held.rows,
                held.baseBytes, held.allBytes);
}

struct Mode {
    const char* name;
    void (*run)(const Arguments& arguments);
};

constexpr Mode kModes[] = {{"rounds", &measureAll},
                           {"product", &measureProduct},
                           {"bare", &measureBare},
                           {"lost", &countLost},
                           {"hold", &hold}};

void run(int count, const char* const* words) {
    std::vector<std::string> names;
    for (const Mode& mode : kModes) {
        names.emplace_back(mode.name);
    }
    const Arguments arguments(
        count, words, names,
        {"--source", "--card", "--base", "--exchanges", "--rounds", "--busy-threads"});
    for (const Mode& mode : kModes) {
        if (arguments.getMode() == mode.name) {
            mode.run(arguments);
        }
    }
}

}  // namespace

int main(int count, char** words) {
    return runProgram("bench-exchange", &run, count, words);
}
