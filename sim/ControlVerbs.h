#pragma once

#include <string>
#include <vector>

#include "sim/Chassis.h"
#include "sim/ControlJson.h"
#include "sim/InServiceWaiters.h"

namespace ponmgr::sim {

/// Carries out the requests of the control socket. A request is one JSON object with a "verb"; its
/// reply is one JSON object, with an "error" when it failed.
class ControlVerbs {
public:
    ControlVerbs(Chassis& chassis, TimerQueue& timers);

    /// Replies to `channel` exactly once, now or later, whatever `line` holds. Throws nothing.
    void handle(const std::string& line, const ReplyChannelPointer& channel);

    /// To be called whenever a card may have changed.
    void check() { waiters.check(); }

    Chassis& cards() { return chassis; }
    InServiceWaiters& inServiceWaiters() { return waiters; }

private:
    Chassis& chassis;
    InServiceWaiters waiters;
};

}  // namespace ponmgr::sim
