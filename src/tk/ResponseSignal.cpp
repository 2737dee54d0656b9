#include "tk/ResponseSignal.h"

#include <cerrno>
#include <ctime>
#include <system_error>

namespace ponmgr {

namespace {

timespec toTimespec(std::chrono::system_clock::time_point time) {
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

// The POSIX call rather than std::condition_variable: its own result says whether the time was up.
// The library's wrapper asks the clock again and so takes a response of the last moment for a
// time-out.
bool ResponseSignal::waitUntil(std::chrono::system_clock::time_point deadline) {
    const timespec until = toTimespec(deadline);
    const std::lock_guard lock(mutex);
    const int result = pthread_cond_timedwait(&condition, mutex.native_handle(), &until);
    if (result != 0 && result != ETIMEDOUT) {
        throw std::system_error(result, std::generic_category(), "pthread_cond_timedwait");
    }
    return result == 0;
}

void ResponseSignal::signal() {
    const std::lock_guard lock(mutex);
    pthread_cond_signal(&condition);
}

}  // namespace ponmgr
