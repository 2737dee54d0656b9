#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace ponmgr::dbman {

/// The steady time that deadlines go by, and the waiting for them. Any thread may use it.
class SteadyTime {
public:
    using Moment = std::chrono::steady_clock::time_point;

    SteadyTime() = default;
    SteadyTime(const SteadyTime&) = delete;
    SteadyTime& operator=(const SteadyTime&) = delete;
    virtual ~SteadyTime() = default;

    virtual Moment now() const;

    /// Waits until `isDone`, which needs the lock, or until `limit`. Returns what `isDone` says in
    /// the end.
    virtual bool waitUntil(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                           Moment limit, const std::function<bool()>& isDone);
};

}  // namespace ponmgr::dbman
