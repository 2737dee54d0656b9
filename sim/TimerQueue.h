#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <tuple>

namespace ponmgr::sim {

using Clock = std::chrono::steady_clock;
using Duration = Clock::duration;
using TimePoint = Clock::time_point;

/// Callbacks by the time they are due; those of the same time run in the order they were added. The
/// clock is injected. One thread.
class TimerQueue {
public:
    using Callback = std::function<void()>;
    using Now = std::function<TimePoint()>;

    struct Timer {
        TimePoint due;
        std::uint64_t sequence = 0;
    };

    explicit TimerQueue(Now clock = &Clock::now);

    /// `callback` runs in the first runDue() at or after `delay` from now.
    Timer after(Duration delay, Callback callback);
    /// Nothing happens when the timer has run.
    void cancel(Timer timer);

    TimePoint now() const { return clock(); }
    std::optional<TimePoint> nextDue() const;
    std::size_t size() const { return timers.size(); }

    /// Runs everything that is due; what a callback adds waits for the next call.
    void runDue();

private:
    struct Earlier {
        bool operator()(const Timer& left, const Timer& right) const {
            return std::tie(left.due, left.sequence) < std::tie(right.due, right.sequence);
        }
    };

    Now clock;
    std::uint64_t lastSequence = 0;
    std::map<Timer, Callback, Earlier> timers;
};

}  // namespace ponmgr::sim
