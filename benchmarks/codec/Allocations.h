#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

namespace ponmgr::bench {

/// Counts what this process takes from the heap, by the C++ operators and by cJSON. Once, before
/// any other use of cJSON.
void countAllocations();

/// Measures one case: what it took from the heap since construction is noted at its end, with the
/// bytes of one message.
class AllocationCount {
public:
    AllocationCount(benchmark::State& state, std::size_t bytes);
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;
    ~AllocationCount();

private:
    benchmark::State& state;
    std::size_t bytes;
    std::uint64_t before;
};

}  // namespace ponmgr::bench
