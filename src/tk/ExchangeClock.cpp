#include "tk/ExchangeClock.h"

#include <cerrno>
#include <ctime>
#include <system_error>

namespace ponmgr {

namespace {

timespec toTimespec(std::chrono::steady_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const std::chrono::nanoseconds rest = time - seconds;
    timespec result{};
    result.tv_sec = seconds.time_since_epoch().count();
    result.tv_nsec = rest.count();
    return result;
}

}  // namespace

ExchangeClock::ExchangeClock() = default;

ExchangeClock::~ExchangeClock() {
    pthread_cond_destroy(&condition);
}

std::chrono::system_clock::time_point ExchangeClock::now() const {
    return std::chrono::system_clock::now();
}

// The POSIX call rather than std::condition_variable: its own result says whether the time was up.
// The library's wrapper asks the clock again and so takes a response of the last moment for a
// time-out.
bool ExchangeClock::sleep(std::mutex& held, std::chrono::nanoseconds time) {
    const timespec until = toTimespec(std::chrono::steady_clock::now() + time);
    const int result =
        pthread_cond_clockwait(&condition, held.native_handle(), CLOCK_MONOTONIC, &until);
    if (result != 0 && result != ETIMEDOUT) {
        throw std::system_error(result, std::generic_category(), "pthread_cond_clockwait");
    }
    return result == 0;
}

void ExchangeClock::wake() {
    pthread_cond_signal(&condition);
}

}  // namespace ponmgr
