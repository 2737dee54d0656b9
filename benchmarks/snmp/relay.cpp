// Gives cards and agents one and the same latency.

#include "benchmarks/snmp/DelayRelay.h"
#include "benchmarks/support/Arguments.h"

namespace {

using namespace ponmgr::bench;

void run(int count, const char* const* words) {
    const Arguments arguments(count, words, {"relay"},
                              {"--listen", "--port", "--agent", "--agent-port", "--delay-us"});
    constexpr unsigned kMostPort = 65535;
    relay(arguments.text("--listen"),
          static_cast<std::uint16_t>(arguments.number("--port", 1, kMostPort)),
          arguments.text("--agent"),
          static_cast<std::uint16_t>(arguments.number("--agent-port", 1, kMostPort)),
          std::int64_t{arguments.number("--delay-us", 0, 10'000'000)} * 1000);
}

}  // namespace

int main(int count, char** words) {
    return runProgram("bench-relay", &run, count, words);
}
