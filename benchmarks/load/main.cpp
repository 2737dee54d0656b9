// A steady load on eight cards, and how long their answers take under it.

#include <cstdio>
#include <stdexcept>

#include "benchmarks/load/PacedLoad.h"
#include "benchmarks/support/Arguments.h"

namespace {

using namespace ponmgr::bench;

std::int64_t quantile(const LoadResult& result, std::size_t perMille) {
    return result.answered[(result.answered.size() - 1) * perMille / 1000];
}

void run(int count, const char* const* words) {
    const Arguments arguments(count, words, {"load"},
                              {"--source", "--base", "--rate", "--seconds"});
    const LoadResult result =
        runLoad(arguments.text("--source"), arguments.text("--base"),
                arguments.number("--rate", 1, 100'000), arguments.number("--seconds", 1, 600));
    if (result.answered.empty()) {
        throw std::runtime_error("no card answered");
    }
    std::printf("{\"sent\":%u,\"answered\":%zu,\"median_ns\":%lld,\"p99_ns\":%lld}\n", result.sent,
                result.answered.size(), static_cast<long long>(quantile(result, 500)),
                static_cast<long long>(quantile(result, 990)));
}

}  // namespace

int main(int count, char** words) {
    return runProgram("bench-load", &run, count, words);
}
