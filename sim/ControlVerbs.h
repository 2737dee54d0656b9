#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "sim/Chassis.h"
#include "sim/ChassisWire.h"
#include "sim/ControlJson.h"
#include "sim/InServiceWaiters.h"

namespace ponmgr::sim {

/// Carries out the requests of the control socket. A request is one JSON object with a "verb"; its
/// reply is one JSON object, with an "error" when it failed.
class ControlVerbs {
public:
    /// Without a wire there are no faults and no journal.
    ControlVerbs(Chassis& chassis, TimerQueue& timers, ChassisWire* wire = nullptr);

    /// Replies to `channel` exactly once, now or later, whatever `line` holds. Throws nothing.
    void handle(const std::string& line, const ReplyChannelPointer& channel);

    /// To be called whenever a card may have changed.
    void check() { waiters.check(); }

    /// Those that can hit the card in this slot now.
    std::size_t activeFaults(int slot) const;

    /// Throws ControlError that says which verbs there are when this is none.
    static void requireVerb(const std::string& name);

    /// Whom to ask how the scenario goes; nobody when there is none.
    void setScenarioReport(std::function<Json()> report) { reportScenario = std::move(report); }
    Json scenarioStatus() const;

    Chassis& cards() { return chassis; }
    InServiceWaiters& inServiceWaiters() { return waiters; }
    /// Throws ControlError when there is none.
    ChassisWire& chassisWire() const;

private:
    Chassis& chassis;
    InServiceWaiters waiters;
    ChassisWire* wire;
    std::function<Json()> reportScenario;
};

}  // namespace ponmgr::sim
