#pragma once

#include <cstdint>

namespace ponmgr::sim {

/// Numbers that look random and are the same for the same seed, on every machine.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    /// From `low` to `high`, both included.
    std::int64_t between(std::int64_t low, std::int64_t high) {
        return low + static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(high - low + 1));
    }
    bool operator==(const Random&) const = default;

private:
    /// A counter whose bits are mixed: each state gives another number, and no state is bad.
    std::uint64_t next() {
        state += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = state;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
        return mixed ^ mixed >> 31;
    }

    std::uint64_t state;
};

}  // namespace ponmgr::sim
