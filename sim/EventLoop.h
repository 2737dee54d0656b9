#pragma once

#include <sys/epoll.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

#include "sim/FileDescriptor.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// Waits for descriptors and timers and calls back, all on the thread that runs it. Every member is
/// for that thread alone; callbacks may add, change and remove anything, themselves included.
class EventLoop {
public:
    /// Gets the epoll events that have come.
    using Handler = std::function<void(std::uint32_t events)>;

    /// Throws std::system_error.
    EventLoop();

    TimerQueue& timers() { return queue; }

    /// Level-triggered; the descriptor stays the caller's, who removes it before closing it. Throws
    /// std::system_error.
    void add(int descriptor, std::uint32_t events, Handler handler);
    void change(int descriptor, std::uint32_t events);
    void remove(int descriptor);

    /// Runs after every batch of events and timers.
    void setAfterBatch(std::function<void()> callback) { afterBatch = std::move(callback); }

    /// Until a callback calls stop().
    void run();
    void stop() { stopped = true; }

private:
    struct Watched {
        int descriptor;
        Handler handler;
    };

    void armTimer();
    void runBatch();

    FileDescriptor epoll;
    /// Wakes the loop when the first timer is due: finer than epoll's milliseconds.
    FileDescriptor timer;
    std::optional<TimePoint> armedFor;
    TimerQueue queue;
    std::function<void()> afterBatch;
    bool stopped = false;
    /// By a number used once, so that an event still in hand for a removed descriptor finds nobody,
    /// even when the descriptor's number is in use again.
    std::unordered_map<std::uint64_t, std::shared_ptr<Watched>> watched;
    std::unordered_map<int, std::uint64_t> tokens;
    std::uint64_t lastToken = 0;
};

}  // namespace ponmgr::sim
