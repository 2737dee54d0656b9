#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "benchmarks/codec/Allocations.h"

namespace ponmgr::bench {

/// The floor of whatever turns bytes into something else: copying them.
inline void registerCopyFloor(const std::string& name, std::size_t size) {
    benchmark::RegisterBenchmark((name + "/floor").c_str(), [size](benchmark::State& state) {
        const std::vector<unsigned char> from(size, 0x5A);
        std::vector<unsigned char> to(size);
        measure(state, size, [&] {
            benchmark::DoNotOptimize(from.data());
            std::memcpy(to.data(), from.data(), size);
            benchmark::ClobberMemory();
        });
    });
}

}  // namespace ponmgr::bench
