#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "sim/Addresses.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

enum class Direction : std::uint8_t { toCard, fromCard };

using WallTime = std::chrono::system_clock::time_point;

/// One datagram that passes a card, as it is told to the journal; the views hold during the call.
struct Passage {
    int slot = 0;
    Direction direction = Direction::toCard;
    /// The card's end, and the manager's.
    Endpoint local;
    Endpoint peer;
    /// As it is between the card's socket and the manager.
    std::span<const std::uint8_t> bytes;
    /// As the card has it, when a fault has changed it.
    std::optional<std::span<const std::uint8_t>> cardBytes;
    /// The ids of the faults that have hit it, ascending.
    std::span<const std::uint32_t> faults;
    /// Why it goes no further, a text that lives for ever; empty when it does.
    std::string_view dropped;
    /// False for a datagram of the card's that never reached its socket.
    bool onTheWire = true;
};

/// One datagram as the journal keeps it.
struct JournalEntry {
    /// Counts from 1.
    std::uint64_t number = 0;
    Duration sinceStart{};
    WallTime wall;
    int slot = 0;
    Direction direction = Direction::toCard;
    Endpoint local;
    Endpoint peer;
    /// Its beginning, once the sinks have had all of it; `size` is that of the whole.
    std::vector<std::uint8_t> bytes;
    std::size_t size = 0;
    std::optional<std::vector<std::uint8_t>> cardBytes;
    std::vector<std::uint32_t> faults;
    std::string_view dropped;
    bool onTheWire = true;
};

}  // namespace ponmgr::sim
