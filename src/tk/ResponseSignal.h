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

    /// Waits until signalled or until `deadline` on the wall clock. True when the wait ended
    /// otherwise than by time-out, spurious wakes included. Throws std::system_error.
    bool waitUntil(std::chrono::system_clock::time_point deadline);

    /// Wakes the waiting thread, if one waits. Any thread.
    void signal();

private:
    std::mutex mutex;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
};

}  // namespace ponmgr
