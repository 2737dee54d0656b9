#include "sim/TimerQueue.h"

#include <utility>

namespace ponmgr::sim {

TimerQueue::TimerQueue(Now injected) : clock(std::move(injected)) {}

TimerQueue::Timer TimerQueue::after(Duration delay, Callback callback) {
    const Timer timer{clock() + delay, ++lastSequence};
    timers.emplace(timer, std::move(callback));
    return timer;
}

void TimerQueue::cancel(Timer timer) {
    timers.erase(timer);
}

std::optional<TimePoint> TimerQueue::nextDue() const {
    return timers.empty() ? std::nullopt : std::optional(timers.begin()->first.due);
}

void TimerQueue::runDue() {
    const auto end = clock();
    const auto newest = lastSequence;
    while (!timers.empty()) {
        const auto& next = timers.begin()->first;
        if (next.due > end || next.sequence > newest) {
            return;
        }
        // Out of the map first: the callback may add and cancel.
        const auto taken = timers.extract(timers.begin());
        taken.mapped()();
    }
}

}  // namespace ponmgr::sim
