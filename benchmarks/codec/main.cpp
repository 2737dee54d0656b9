// The codec: requests, answers, lists of links, and records to JSON and back.

#include <benchmark/benchmark.h>

#include "benchmarks/codec/Cases.h"

int main(int count, char** words) {
    using namespace ponmgr::bench;
    registerRequests();
    registerResponses();
    registerLinkLists();
    registerAlarmRecords();
    benchmark::Initialize(&count, words);
    if (benchmark::ReportUnrecognizedArguments(count, words)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
