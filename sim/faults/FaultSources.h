#pragma once

#include <cstdint>
#include <map>
#include <utility>

#include "sim/Chassis.h"
#include "sim/TimerQueue.h"
#include "sim/faults/DatagramPath.h"
#include "sim/faults/FaultTable.h"

namespace ponmgr::sim {

/// What a fault needs to send one datagram of its own.
struct SourceTurn {
    Chassis& chassis;
    DatagramPath& path;
    Card& card;
    /// How many the fault has sent from this card before.
    std::uint64_t sent = 0;
};

/// See SendDatagram. Alarms are raised and cleared by turns.
bool sendAlarm(Fault& fault, const SourceTurn& turn);
bool sendGarbage(Fault& fault, const SourceTurn& turn);

/// Where a fault of kind garbage sends from.
Endpoint garbageEndpoint(const FaultSettings& settings, const Card& card);

/// Has the faults that send datagrams of their own do so, at their rate.
class FaultSources {
public:
    /// All must outlive it; the timer queue runs nothing after its end.
    FaultSources(TimerQueue& queue, FaultTable& table, Chassis& cards, DatagramPath& way)
        : timers(queue), faults(table), chassis(cards), path(way) {}

    /// Once for each fault of a kind that sends; it goes on until the fault ends or is removed.
    void start(const Fault& fault);

private:
    void schedule(const Fault& fault, std::uint64_t turn);
    void take(std::uint32_t id, std::uint64_t turn);
    void sendFrom(Card& card, Fault& fault);
    void forget(std::uint32_t id);

    TimerQueue& timers;
    FaultTable& faults;
    Chassis& chassis;
    DatagramPath& path;
    /// How many a fault has sent from the card in a slot.
    std::map<std::pair<std::uint32_t, int>, std::uint64_t> sent;
};

}  // namespace ponmgr::sim
