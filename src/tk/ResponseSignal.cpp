#include "tk/ResponseSignal.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

namespace ponmgr {

namespace {

// How far the wall clock may fall behind in one wait because it is being adjusted gently; a larger
// difference is a clock that was set.
constexpr std::chrono::milliseconds kClockAdjustment{20};

timespec toTimespec(std::chrono::steady_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const std::chrono::nanoseconds rest = time - seconds;
    timespec result{};
    result.tv_sec = seconds.time_since_epoch().count();
    result.tv_nsec = rest.count();
    return result;
}

}  // namespace

ResponseSignal::ResponseSignal() = default;

ResponseSignal::~ResponseSignal() {
    pthread_cond_destroy(&condition);
}

// The wait itself runs on the steady clock: on the wall clock, one that is set back by an hour
// would keep the card's lock for that hour. A clock that lags a little is waited for, since a retry
// that began just before a whole second would have a second less.
bool ResponseSignal::waitUntil(std::chrono::system_clock::time_point deadline,
                               std::chrono::nanoseconds longest) {
    const auto left = [deadline]() -> std::chrono::nanoseconds {
        return deadline - std::chrono::system_clock::now();
    };
    const std::lock_guard lock(mutex);
    bool awoken = waitFor(std::min(left(), longest));
    for (auto rest = left(); !awoken && rest.count() > 0 && rest <= kClockAdjustment;
         rest = left()) {
        awoken = waitFor(rest);
    }
    return awoken;
}

// The POSIX call rather than std::condition_variable: its own result says whether the time was up.
// The library's wrapper asks the clock again and so takes a response of the last moment for a
// time-out.
bool ResponseSignal::waitFor(std::chrono::nanoseconds time) {
    const timespec until = toTimespec(std::chrono::steady_clock::now() + time);
    const int result =
        pthread_cond_clockwait(&condition, mutex.native_handle(), CLOCK_MONOTONIC, &until);
    if (result != 0 && result != ETIMEDOUT) {
        throw std::system_error(result, std::generic_category(), "pthread_cond_clockwait");
    }
    return result == 0;
}

void ResponseSignal::signal() {
    const std::lock_guard lock(mutex);
    pthread_cond_signal(&condition);
}

}  // namespace ponmgr
