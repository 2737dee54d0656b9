#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "dbman/LinkThread.h"

namespace ponmgr::dbman {

/// Sends messages to the daemon, in the order in which they were posted, on a thread of its own
/// ("dbman-send"); so nobody waits for a daemon that isn't there or doesn't read.
class CommandSender {
public:
    struct Timing {
        /// Pause between two tries while nobody listens.
        std::chrono::milliseconds retryPause{50};
        /// How long stop() waits for a daemon that doesn't read.
        std::chrono::milliseconds stopLimit{1000};
    };

    /// Gets the empty text when the daemon's socket has taken the message, else why it has not.
    using Done = std::function<void(const std::string& error)>;

    /// Messages that may wait; a further one fails at once.
    static constexpr std::size_t kMaximumWaiting = 1024;

    /// Whether a daemon listens for commands now. Sends nothing and doesn't wait.
    static bool isDaemonThere();

    CommandSender();
    explicit CommandSender(Timing timing);
    CommandSender(const CommandSender&) = delete;
    CommandSender& operator=(const CommandSender&) = delete;
    /// Stops.
    ~CommandSender();

    /// To be called once, before anything is posted.
    void start();

    /// Queues `text`. While nobody listens it is tried again until `patience` is over; zero is one
    /// try. `done` is called exactly once, on the sending thread as a rule, throws nothing and
    /// doesn't wait; so is `triedAgain`, once at most and before it, when a try has failed and
    /// there will be more. May be called on any thread.
    void post(std::string text, std::chrono::milliseconds patience, Done done,
              Done triedAgain = nullptr);

    /// Ends the thread; what has not been sent fails. To be called by the thread of start().
    void stop();

private:
    struct State;

    static void run(State& state);

    // Shared with the sending thread, which keeps it when it has to be left behind.
    std::shared_ptr<State> state;
    LinkThread thread;
};

}  // namespace ponmgr::dbman
