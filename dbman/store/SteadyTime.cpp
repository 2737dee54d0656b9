#include "dbman/store/SteadyTime.h"

namespace ponmgr::dbman {

SteadyTime::Moment SteadyTime::now() const {
    return std::chrono::steady_clock::now();
}

bool SteadyTime::waitUntil(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                           Moment limit, const std::function<bool()>& isDone) {
    return changed.wait_until(lock, limit, isDone);
}

}  // namespace ponmgr::dbman
