#pragma once

#include <list>
#include <memory>

#include "sim/Chassis.h"
#include "sim/ControlJson.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// Those who wait for every card to be in service.
class InServiceWaiters {
public:
    InServiceWaiters(Chassis& chassis, TimerQueue& timers);
    InServiceWaiters(const InServiceWaiters&) = delete;
    InServiceWaiters& operator=(const InServiceWaiters&) = delete;
    ~InServiceWaiters();

    /// Replies as soon as all cards are in service, at the latest after `timeout` with an error
    /// that says which cards aren't and why. A channel that is gone by then is forgotten.
    void add(const ReplyChannelPointer& channel, Duration timeout);

    /// To be called whenever a card may have changed.
    void check();

    std::size_t size() const { return waiters.size(); }

private:
    struct Waiter {
        std::weak_ptr<ReplyChannel> channel;
        TimerQueue::Timer timer;
    };

    bool allInService() const;
    void giveUp(std::list<Waiter>::iterator waiter);

    Chassis& chassis;
    TimerQueue& timers;
    std::list<Waiter> waiters;
};

}  // namespace ponmgr::sim
