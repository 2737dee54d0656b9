#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <utility>

#include "tk/ExchangeClock.h"

namespace ponmgr::fuzz {

/// Time that passes only when it is told to. As with the system's clock, waking nobody is without
/// effect, and what woke a sleeper in time counts even if the time is up before he looks.
class PlayedClock : public ExchangeClock {
public:
    using Time = std::chrono::system_clock::time_point;
    using Duration = std::chrono::nanoseconds;
    /// What happens while the exchange sleeps for that time.
    using Sleep = std::function<void(Duration)>;

    PlayedClock(Time start, Sleep sleepPlayer) : wall(start), play(std::move(sleepPlayer)) {}

    Time now() const override { return wall; }

    bool sleep(std::mutex& held, Duration time) override {
        held.unlock();
        left = time;
        woken = false;
        asleep = true;
        play(time);
        if (!woken) {
            pass(left);
        }
        asleep = false;
        held.lock();
        return woken;
    }

    void wake() override { woken = woken || sleeperWaits(); }

    /// Whether somebody sleeps whose time isn't up.
    bool sleeperWaits() const { return asleep && left > Duration(0); }

    void pass(Duration time) {
        setWall(wall + std::max(time, Duration(0)));
        left -= time;
    }

    /// Sets the wall clock; the sleeper's time goes on as before. It shows no time before 1970 and
    /// none after 2106.
    void setWall(Time time) {
        wall = std::clamp<Time>(time, Time(), Time(std::chrono::seconds(0xffffffff)));
    }

private:
    Time wall;
    const Sleep play;
    Duration left{};
    bool asleep = false;
    bool woken = false;
};

}  // namespace ponmgr::fuzz
