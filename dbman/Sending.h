#pragma once

#include <chrono>
#include <cstddef>
#include <future>
#include <string>
#include <vector>

namespace ponmgr::dbman {

/// What has become of a message to the daemon.
struct Delivery {
    /// From the best to the worst.
    enum class State {
        taken,
        /// A try has failed; there will be more.
        triedAgain,
        /// The daemon listens, and its queue is full: nobody knows yet.
        waiting,
        /// There will be no try any more.
        failed,
    };

    State state;
    /// Why the daemon hasn't taken it; empty when it has.
    std::string why;
};

/// Messages that were posted together, and what has become of them. Used by one thread at a time.
class Sending {
public:
    using Clock = std::chrono::steady_clock;

    /// One message's news, set by who sends it.
    struct News {
        /// The empty text when the daemon has taken it, else why it won't get it.
        std::future<std::string> result;
        /// Why the first of several tries has failed.
        std::future<std::string> failedTry;
    };

    /// Past `limit` nobody waits for news any more.
    Sending(std::vector<News> news, Clock::time_point limit);

    Clock::time_point limit() const { return waitLimit; }

    /// True once there are news of every message, or the time is over.
    bool isSettled() const;

    /// In the order of the messages. To be asked once, when it is settled.
    std::vector<Delivery> takeDeliveries();

    /// The empty text when the daemon has taken all of them, else how many it has not and why. To
    /// be asked once, when it is settled.
    std::string takeFailure();

private:
    std::vector<News> messages;
    const Clock::time_point waitLimit;
};

}  // namespace ponmgr::dbman
