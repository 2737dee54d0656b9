#pragma once

#include <pthread.h>

#include <chrono>
#include <mutex>

namespace ponmgr {

/// The time that an exchange goes by: the wall clock, and a sleep that a response ends. This one is
/// the system's; another may be given in its place, to play time instead of waiting for it.
class ExchangeClock {
public:
    ExchangeClock();
    ExchangeClock(const ExchangeClock&) = delete;
    ExchangeClock& operator=(const ExchangeClock&) = delete;
    virtual ~ExchangeClock();

    /// The wall clock. Any thread.
    virtual std::chrono::system_clock::time_point now() const;

    /// Lets go of `held` for `time`, by a clock that nobody sets, or until woken, and takes it
    /// again. True when it ended otherwise than by time-out, spurious wakes included. One thread at
    /// a time. Throws std::system_error.
    virtual bool sleep(std::mutex& held, std::chrono::nanoseconds time);

    /// Wakes the sleeper, if there is one; the sleeper's mutex is held. Any thread.
    virtual void wake();

private:
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
};

}  // namespace ponmgr
