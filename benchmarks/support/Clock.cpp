#include "benchmarks/support/Clock.h"

#include <sys/resource.h>

#include <ctime>

namespace ponmgr::bench {

namespace {

std::int64_t read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * kNanosecondsOfSecond + time.tv_nsec;
}

std::int64_t switchesOfThreads() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_nvcsw} + usage.ru_nivcsw;
}

}  // namespace

std::int64_t steadyNow() {
    return read(CLOCK_MONOTONIC);
}

void sleepUntil(std::int64_t moment) {
    timespec time{};
    time.tv_sec = moment / kNanosecondsOfSecond;
    time.tv_nsec = moment % kNanosecondsOfSecond;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
    }
}

Cost costOf(const std::function<void()>& work) {
    const std::int64_t switches = switchesOfThreads();
    const std::int64_t cpu = read(CLOCK_PROCESS_CPUTIME_ID);
    const std::int64_t wall = steadyNow();
    work();
    const std::int64_t wallEnd = steadyNow();
    const std::int64_t cpuEnd = read(CLOCK_PROCESS_CPUTIME_ID);
    return {wallEnd - wall, cpuEnd - cpu, switchesOfThreads() - switches};
}

}  // namespace ponmgr::bench
