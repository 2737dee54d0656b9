#include "tk/ResponseSignal.h"

#include <algorithm>
#include <utility>

namespace ponmgr {

namespace {

// How far the wall clock may fall behind in one wait because it is being adjusted gently; a larger
// difference is a clock that was set.
constexpr std::chrono::milliseconds kClockAdjustment{20};

}  // namespace

ResponseSignal::ResponseSignal(std::unique_ptr<ExchangeClock> exchangeClock)
    : clock(std::move(exchangeClock)) {}

// The sleep itself runs on the steady clock: on the wall clock, one that is set back by an hour
// would keep the card's lock for that hour. A clock that lags a little is waited for, since a retry
// that began just before a whole second would have a second less.
bool ResponseSignal::waitUntil(std::chrono::system_clock::time_point deadline,
                               std::chrono::nanoseconds longest) {
    const auto left = [this, deadline]() -> std::chrono::nanoseconds {
        return deadline - clock->now();
    };
    const std::lock_guard lock(mutex);
    bool awoken = clock->sleep(mutex, std::min(left(), longest));
    for (auto rest = left(); !awoken && rest.count() > 0 && rest <= kClockAdjustment;
         rest = left()) {
        awoken = clock->sleep(mutex, rest);
    }
    return awoken;
}

void ResponseSignal::signal() {
    const std::lock_guard lock(mutex);
    clock->wake();
}

}  // namespace ponmgr
