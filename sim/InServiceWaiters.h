#pragma once

#include <cstddef>
#include <list>
#include <memory>

#include "sim/Chassis.h"
#include "sim/ControlJson.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// Those who wait for every card that is plugged in to be in service, and every ONU within reach to
/// be on-line and provisioned.
class InServiceWaiters {
public:
    InServiceWaiters(Chassis& chassis, TimerQueue& timers);
    InServiceWaiters(const InServiceWaiters&) = delete;
    InServiceWaiters& operator=(const InServiceWaiters&) = delete;
    ~InServiceWaiters();

    /// Replies as soon as all cards are in service with their ONUs, at the latest after `timeout`
    /// with an error that says which aren't and why. A channel that is gone by then is forgotten.
    void add(const ReplyChannelPointer& channel, Duration timeout);

    /// To be called whenever a card may have changed.
    void check();

    std::size_t size() const { return waiters.size(); }

private:
    struct Waiter {
        std::weak_ptr<ReplyChannel> channel;
        TimerQueue::Timer timer;
    };

    bool allInService();
    void giveUp(std::list<Waiter>::iterator waiter);

    Chassis& chassis;
    TimerQueue& timers;
    std::list<Waiter> waiters;
    /// Where the last check found something missing: the next begins there, so that one that finds
    /// it still missing costs next to nothing.
    std::size_t lateCard = 0;
    const Onu* lateOnu = nullptr;
};

}  // namespace ponmgr::sim
