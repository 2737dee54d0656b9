#pragma once

#include <cstdint>
#include <functional>

namespace ponmgr::bench {

/// What a piece of work took, in nanoseconds: on the clock, and of all threads of this process.
struct Cost {
    std::int64_t wall = 0;
    std::int64_t cpu = 0;
};

/// Nanoseconds on the steady clock.
std::int64_t steadyNow();

Cost costOf(const std::function<void()>& work);

}  // namespace ponmgr::bench
