#pragma once

#include <cstdint>
#include <functional>

namespace ponmgr::bench {

constexpr std::int64_t kNanosecondsOfSecond = 1'000'000'000;

/// What a piece of work took, in nanoseconds: on the clock, and of all threads of this process; and
/// how often one of these threads gave its core away or lost it.
struct Cost {
    std::int64_t wall = 0;
    std::int64_t cpu = 0;
    std::int64_t switches = 0;
};

/// Nanoseconds on the steady clock.
std::int64_t steadyNow();

/// Until a moment of the steady clock, in nanoseconds; at once when it has passed.
void sleepUntil(std::int64_t moment);

/// Throws what the work throws.
Cost costOf(const std::function<void()>& work);

}  // namespace ponmgr::bench
