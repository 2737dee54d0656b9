#pragma once

#include <mutex>
#include <set>

#include "dbman/store/SteadyTime.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman::test {

/// A time that stands until a test moves it on, and tells what is waited for.
class HeldTime : public SteadyTime {
public:
    Moment now() const override {
        const std::lock_guard lock(mutex);
        return current;
    }

    bool waitUntil(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                   Moment limit, const std::function<bool()>& isDone) override {
        bool done = isDone();
        const auto place = done ? limits.end() : note(limit);
        while (!done && now() < limit) {
            // Nobody notifies who waits when the time moves on, so they look often.
            changed.wait_for(lock, std::chrono::milliseconds(1));
            done = isDone();
        }
        if (place != limits.end()) {
            const std::lock_guard own(mutex);
            limits.erase(place);
        }
        return done;
    }

    void moveOn(std::chrono::nanoseconds by) {
        const std::lock_guard lock(mutex);
        current += by;
    }

    /// Waits until somebody waits for exactly this moment. False: nobody does.
    bool isWaitedFor(Moment moment) const {
        return ponmgr::test::waitFor([&] {
            const std::lock_guard lock(mutex);
            return limits.contains(moment);
        });
    }

private:
    std::multiset<Moment>::iterator note(Moment limit) {
        const std::lock_guard lock(mutex);
        return limits.insert(limit);
    }

    // Taken while others are held, and none inside it.
    mutable std::mutex mutex;
    // Guarded by mutex.
    Moment current{std::chrono::hours(1)};
    std::multiset<Moment> limits;
};

}  // namespace ponmgr::dbman::test
