#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "dbman/LinkThread.h"

namespace ponmgr::dbman {

/// Listens for the daemon's notifications and hands them on, one at a time, on a thread of its own
/// ("dbman-receive"). The object itself is used by one thread.
class NotificationReceiver {
public:
    using Handler = std::function<void(const std::string& text)>;

    /// Both handlers are called on the receiving thread, never after stop(), and throw nothing.
    /// `onError` gets the link's own words; receiving goes on.
    NotificationReceiver(Handler onMessage, Handler onError);
    NotificationReceiver(const NotificationReceiver&) = delete;
    NotificationReceiver& operator=(const NotificationReceiver&) = delete;
    /// Stops.
    ~NotificationReceiver();

    /// From here on messages arrive; they wait until start(). Throws Failure with the link's words.
    void listen();

    /// Starts to hand on. listen() has succeeded.
    void start();

    /// Waits for a handler that runs, ends the thread, closes the socket and removes its path.
    void stop();

private:
    struct State;

    static void run(State& state);
    static void wakeUp();

    // Shared with the receiving thread, which keeps it when it has to be left behind.
    std::shared_ptr<State> state;
    LinkThread thread;
};

}  // namespace ponmgr::dbman
