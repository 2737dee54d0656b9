#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>

namespace ponmgr::bench {

/// How often `work` takes from the heap, by the C++ operators and by cJSON, on average. What cJSON
/// would otherwise resize in place is taken anew meanwhile, which counts as once either way. One
/// thread at a time.
double allocationsOf(const std::function<void()>& work);

/// Measures `work` on one message of so many bytes: counts first, then times it with cJSON as it is
/// when nobody counts.
template <typename Work>
void measure(benchmark::State& state, std::size_t bytes, const Work& work) {
    state.counters["allocations"] = allocationsOf(work);
    state.counters["bytes"] = static_cast<double>(bytes);
    while (state.KeepRunning()) {
        work();
    }
}

}  // namespace ponmgr::bench
