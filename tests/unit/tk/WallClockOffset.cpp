// Replaces clock_gettime() of the test binary, through which the standard library's clocks are
// read.

#include "WallClockOffset.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace {

constexpr long kNanosecondsPerSecond = 1'000'000'000;
std::atomic<long> wallClockOffset = 0;

void add(timespec& time, long nanoseconds) {
    const long sum = time.tv_nsec + nanoseconds % kNanosecondsPerSecond;
    time.tv_sec += nanoseconds / kNanosecondsPerSecond + sum / kNanosecondsPerSecond;
    time.tv_nsec = sum % kNanosecondsPerSecond;
}

}  // namespace

namespace ponmgr::test {

void WallClockOffset::set(std::chrono::nanoseconds offset) {
    wallClockOffset = offset.count();
}

}  // namespace ponmgr::test

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_REALTIME) {
        add(*time, wallClockOffset);
    }
    return result;
}
