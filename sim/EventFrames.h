#pragma once

#include <cstdint>

#include "sim/Addresses.h"
#include "sim/Onu.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

/// What an alarm is about.
enum class EntityTag : std::uint8_t { onuLink = 3, oltPort = 5, oltLink = 7 };

struct Alarm {
    EntityTag tag = EntityTag::onuLink;
    /// Of the ONU; of the card for one of its ports.
    MacAddress mac{};
    /// Of oltPort alone: PON ports 0 and 1, network ports 2 and 3.
    std::uint16_t port = 0;
    std::uint8_t code = 0;
    bool raised = true;
};

/// The whole frames of a card's events; each replaces what `frame` holds.
void writeLinkDiscovery(Writer& frame, std::uint16_t sequence, const Onu& onu);
void writeReportAlarm(Writer& frame, std::uint16_t sequence, const Alarm& alarm);
void writeLinkMoved(Writer& frame, std::uint16_t sequence, const MacAddress& mac, std::uint8_t from,
                    std::uint8_t to);

}  // namespace ponmgr::sim
