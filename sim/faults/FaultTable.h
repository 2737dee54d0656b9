#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sim/faults/Fault.h"

namespace ponmgr::sim {

/// All faults that were added and not removed, those that have ended too.
class FaultTable {
public:
    static constexpr std::size_t kMostFaults = 1000;

    /// The same seed, faults and datagrams make the same choices. The timer queue, whose clock it
    /// reads, must outlive it.
    FaultTable(std::uint32_t randomSeed, const TimerQueue& queue)
        : seed(randomSeed), timers(queue) {}

    /// Ids count from 1 and aren't used again. Throws ControlError when there are too many.
    Fault& add(FaultSettings settings);
    /// False when there is none.
    bool remove(std::uint32_t id);

    /// By ascending id: the order in which they were added.
    const std::vector<std::unique_ptr<Fault>>& all() const { return faults; }
    /// Null when there is none.
    Fault* find(std::uint32_t id) const;
    TimePoint now() const { return timers.now(); }

private:
    std::uint32_t seed;
    const TimerQueue& timers;
    std::uint32_t lastId = 0;
    std::vector<std::unique_ptr<Fault>> faults;
};

}  // namespace ponmgr::sim
