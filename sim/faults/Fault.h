#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

#include "sim/Random.h"
#include "sim/TimerQueue.h"
#include "sim/faults/FaultSettings.h"
#include "sim/journal/JournalEntry.h"

namespace ponmgr::sim {

/// One fault that was added: what it is to do, and what it has done. One thread.
class Fault {
public:
    enum class State { waiting, active, ended };

    /// The seed decides all that it leaves to chance.
    Fault(std::uint32_t number, FaultSettings given, TimePoint added, std::uint32_t seed);

    std::uint32_t id() const { return number; }
    const FaultSettings& settings() const { return wanted; }
    TimePoint begins() const { return start; }
    /// When it ends if it isn't used up or removed before; nothing when it goes on.
    std::optional<TimePoint> ends() const { return end; }
    State state(TimePoint now) const;

    /// It may hit a datagram that passes the card in `slot` now, as it was before any fault.
    bool concerns(int slot, Direction direction, std::span<const std::uint8_t> bytes,
                  TimePoint now) const;

    /// Whether chance has it hit at the card in `slot`; asked once for each datagram that it
    /// concerns.
    bool strikes(int slot);
    /// From `low` to `high`, both included.
    std::int64_t choose(int slot, std::int64_t low, std::int64_t high) {
        return randomOf(slot).between(low, high);
    }

    /// Datagrams that it has hit or sent, and those that it concerned but has let pass, or couldn't
    /// send.
    std::uint64_t hits() const { return hitCount; }
    std::uint64_t passedBy() const { return passedByCount; }
    void count(bool hit) { ++(hit ? hitCount : passedByCount); }

private:
    Random& randomOf(int slot);

    std::uint32_t number;
    FaultSettings wanted;
    TimePoint start;
    std::optional<TimePoint> end;
    std::uint32_t seed;
    /// Each card has its own chance, by its slot: what befalls it doesn't hang on how its datagrams
    /// and those of other cards alternate.
    std::map<int, Random> randoms;
    std::uint64_t hitCount = 0;
    std::uint64_t passedByCount = 0;
};

}  // namespace ponmgr::sim
