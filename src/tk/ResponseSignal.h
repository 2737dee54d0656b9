#pragma once

#include <chrono>
#include <memory>
#include <mutex>

#include "tk/ExchangeClock.h"

namespace ponmgr {

/// Wakes a card thread when the response it waits for has arrived. There is no memory in it: a
/// signal that comes while nobody waits is lost, and the request is then sent again when the time
/// is up. How often a card is asked must not change, so no "has arrived" flag is to be added here.
class ResponseSignal {
public:
    explicit ResponseSignal(
        std::unique_ptr<ExchangeClock> exchangeClock = std::make_unique<ExchangeClock>());

    /// The wall clock that the deadlines are times of. Any thread.
    std::chrono::system_clock::time_point now() const { return clock->now(); }

    /// Waits until signalled or until `deadline` on the wall clock, and no longer than `longest`
    /// even when that clock is set back. True when the wait ended otherwise than by time-out,
    /// spurious wakes included. Throws std::system_error.
    bool waitUntil(std::chrono::system_clock::time_point deadline,
                   std::chrono::nanoseconds longest);

    /// Wakes the waiting thread, if one waits. Any thread.
    void signal();

private:
    const std::unique_ptr<ExchangeClock> clock;
    std::mutex mutex;
};

}  // namespace ponmgr
