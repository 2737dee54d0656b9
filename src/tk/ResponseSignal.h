#pragma once

#include <pthread.h>

#include <chrono>
#include <mutex>

namespace ponmgr {

/// Wakes a card thread when the response it waits for has arrived. There is no memory in it: a
/// signal that comes while nobody waits is lost, and the request is then sent again when the time
/// is up. How often a card is asked must not change, so no "has arrived" flag is to be added here.
class ResponseSignal {
public:
    ResponseSignal();
    ResponseSignal(const ResponseSignal&) = delete;
    ResponseSignal& operator=(const ResponseSignal&) = delete;
    ~ResponseSignal();

    /// Waits until signalled or until `deadline` on the wall clock, and no longer than `longest`
    /// even when that clock is set back. True when the wait ended otherwise than by time-out,
    /// spurious wakes included. Throws std::system_error.
    bool waitUntil(std::chrono::system_clock::time_point deadline,
                   std::chrono::nanoseconds longest);

    /// Wakes the waiting thread, if one waits. Any thread.
    void signal();

private:
    bool waitFor(std::chrono::nanoseconds time);

    std::mutex mutex;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
};

}  // namespace ponmgr
