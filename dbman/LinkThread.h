#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace ponmgr::dbman {

/// A thread over a blocking call that nothing on our side can break off for certain. It is waited
/// for with a limit; one that is stuck past it is left to the end of the process. So `body` owns
/// all that it touches. To be used by one thread at a time.
class LinkThread {
public:
    LinkThread() = default;
    LinkThread(const LinkThread&) = delete;
    LinkThread& operator=(const LinkThread&) = delete;
    /// Leaves a thread that still runs to itself.
    ~LinkThread();

    /// `name` has at most 15 characters and outlives the thread; `body` doesn't throw.
    void start(const char* name, std::function<void()> body);

    /// True when the thread has ended within `limit`, or was never started. False at once for one
    /// that was left behind.
    bool finishWithin(std::chrono::milliseconds limit);

    /// Gives up waiting for a thread that still runs, for good.
    void leaveBehind();

    bool isLeftBehind() const { return leftBehind; }

private:
    bool leftBehind = false;
    std::thread thread;
    std::future<void> ended;
};

}  // namespace ponmgr::dbman
