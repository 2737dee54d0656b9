#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "sim/TimerQueue.h"
#include "sim/faults/Fault.h"

namespace ponmgr::sim {

/// What the faults make of one datagram, one after another.
struct Treatment {
    /// Of the card that it passes.
    int slot = 0;
    std::vector<std::uint8_t> bytes;
    /// Those that have hit it.
    std::vector<std::uint32_t> faults;
    bool dropped = false;
    /// The card only says that it has done what is asked.
    bool pretended = false;
    /// Copies beyond the one.
    std::uint32_t copies = 0;
    Duration delay{};
    /// It waits for the next datagram, at most so long.
    std::optional<Duration> behindNext;
    /// The card's port, and the one that it is sent from.
    std::uint16_t cardPort = 0;
    std::uint16_t localPort = 0;
};

/// What each kind of fault does; see TreatDatagram.
bool treatDrop(Fault& fault, Treatment& treatment);
bool treatDelay(Fault& fault, Treatment& treatment);
bool treatDuplicate(Fault& fault, Treatment& treatment);
bool treatReorder(Fault& fault, Treatment& treatment);
bool treatTruncate(Fault& fault, Treatment& treatment);
bool treatFlipBit(Fault& fault, Treatment& treatment);
bool treatWrongCtag(Fault& fault, Treatment& treatment);
bool treatWrongId(Fault& fault, Treatment& treatment);
bool treatWrongLength(Fault& fault, Treatment& treatment);
bool treatResult(Fault& fault, Treatment& treatment);
bool treatPretend(Fault& fault, Treatment& treatment);
bool treatWrongPort(Fault& fault, Treatment& treatment);

/// The port that a fault of kind wrong-port uses instead of the card's.
std::uint16_t wrongPort(const FaultSettings& settings, std::uint16_t cardPort);

}  // namespace ponmgr::sim
