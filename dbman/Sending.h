#pragma once

#include <chrono>
#include <cstddef>
#include <future>
#include <string>
#include <vector>

namespace ponmgr::dbman {

/// Messages that were posted together, and what has become of them. Used by one thread at a time.
class Sending {
public:
    using Clock = std::chrono::steady_clock;

    /// `results` get the empty text when the daemon has taken a message, else why not. Past `limit`
    /// nobody waits for them any more.
    Sending(std::vector<std::future<std::string>> results, Clock::time_point limit);

    Clock::time_point limit() const { return waitLimit; }

    /// True once every message has its result, or the time is over.
    bool isSettled() const;

    /// The empty text when the daemon has taken all of them, else how many it has not and why. To
    /// be asked once, when it is settled.
    std::string takeFailure();

private:
    std::vector<std::future<std::string>> results;
    const Clock::time_point waitLimit;
};

}  // namespace ponmgr::dbman
