#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "sim/Chassis.h"
#include "sim/TimerQueue.h"
#include "sim/faults/DatagramPath.h"
#include "sim/faults/FaultSources.h"
#include "sim/faults/FaultTable.h"
#include "sim/journal/Journal.h"

namespace ponmgr::sim {

/// Everything between the cards and their sockets: the way of the datagrams, the faults on it and
/// the journal of what has passed. One thread, that of the timer queue.
class ChassisWire {
public:
    /// Makes sure that something is bound there; throws std::system_error when that is impossible.
    using Open = std::function<void(Endpoint local)>;

    /// Queue and chassis must outlive it. The seed decides what faults leave to chance.
    ChassisWire(std::size_t journalEntries, std::uint32_t seed, TimerQueue& timers,
                Chassis& chassis, Open open, DatagramPath::Depart depart);

    /// Throws ControlError when there is no such card or no socket to send from.
    const Fault& addFault(FaultSettings settings);

    DatagramPath& path() { return way; }
    FaultTable& faults() { return table; }
    Journal& journal() { return diary; }

private:
    void openWhatIsNeeded(const FaultSettings& settings);

    Chassis& chassis;
    Open open;
    Journal diary;
    FaultTable table;
    DatagramPath way;
    FaultSources sources;
};

}  // namespace ponmgr::sim
