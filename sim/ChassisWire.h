#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

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
    /// Keeps a socket bound while it lives.
    using Socket = std::shared_ptr<const void>;
    /// Makes sure that a socket is bound there; throws std::system_error when that is impossible.
    using Open = std::function<Socket(Endpoint local)>;

    /// Queue and chassis must outlive it. The seed decides what faults leave to chance.
    ChassisWire(std::size_t journalEntries, std::uint32_t seed, TimerQueue& timers,
                Chassis& chassis, Open open, DatagramPath::Depart depart);

    /// Throws ControlError when there is no such card, no socket to send from, or too many faults;
    /// nothing has changed then.
    const Fault& addFault(FaultSettings settings);
    /// Closes the sockets that only it sends from. Nothing happens when there is no such fault.
    void removeFault(std::uint32_t id);

    DatagramPath& path() { return way; }
    const FaultTable& faults() const { return table; }
    Journal& journal() { return diary; }

private:
    /// Throws ControlError when what is there now makes the fault one of nothing.
    void requireThatItCanHit(const FaultSettings& settings) const;
    std::vector<Socket> openWhatIsNeeded(const FaultSettings& settings) const;

    Chassis& chassis;
    Open open;
    Journal diary;
    FaultTable table;
    DatagramPath way;
    FaultSources sources;
    /// Those that faults send from, by the fault's id.
    std::map<std::uint32_t, std::vector<Socket>> sockets;
};

}  // namespace ponmgr::sim
