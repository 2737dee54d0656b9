#include "benchmarks/support/Clock.h"

#include <ctime>

namespace ponmgr::bench {

namespace {

std::int64_t read(clockid_t clock) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

}  // namespace

std::int64_t steadyNow() {
    return read(CLOCK_MONOTONIC);
}

Cost costOf(const std::function<void()>& work) {
    const std::int64_t cpu = read(CLOCK_PROCESS_CPUTIME_ID);
    const std::int64_t wall = steadyNow();
    work();
    return {steadyNow() - wall, read(CLOCK_PROCESS_CPUTIME_ID) - cpu};
}

}  // namespace ponmgr::bench
