#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <string>

#include "sim/Addresses.h"
#include "sim/Optics.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

using Oui = std::array<std::uint8_t, 3>;

inline constexpr std::uint8_t kPonPorts = 2;
/// A list of all links of a card's two ports must fit into one datagram.
inline constexpr unsigned kMostOnusPerPort = 124;
inline constexpr unsigned kMostLinks = kPonPorts * kMostOnusPerPort;

/// Where an ONU was installed; its name for good, also when it moves.
struct OnuAddress {
    int slot = 0;
    std::uint8_t port = 0;
    std::uint8_t index = 0;

    bool operator==(const OnuAddress&) const = default;
};

/// "3/0/7".
std::string toText(const OnuAddress& address);

/// The ends of an ONU's queues on the card; no two ONUs of a card share one.
struct QueueEndpoints {
    std::uint16_t downstream = 0;
    std::uint16_t upstream = 0;
    std::uint16_t multicast = 0;

    bool operator==(const QueueEndpoints&) const = default;
};

/// One ONU as it hangs at its fibre. What the manager sets for its link is kept by the card.
struct Onu {
    OnuAddress address;
    MacAddress mac{};
    /// The slot and the PON port it hangs at now.
    int slot = 0;
    std::uint8_t port = 0;
    bool plugged = true;
    bool powered = true;
    /// Between a reset and the end of its start.
    bool restarting = false;
    /// Restarts begun; tells the end of one that another has begun since.
    std::uint32_t restarts = 0;
    /// Registered with the card: its link is up.
    bool discovered = false;

    Oui vendorOui{0x00, 0x0D, 0xB6};
    std::array<std::uint8_t, 2> productCode{0x42, 0x01};
    std::array<std::uint8_t, 2> productVersion{0x00, 0x02};
    std::uint16_t llid = 0;
    std::uint16_t roundTripTime = 0;  ///< 16 ns
    QueueEndpoints queues;

    OnuOptics optics;
    OnuOptics typical;
    /// Of its module's drift, wherever it hangs.
    Random random{0};
    double fadeDecibels = 0;

    /// The readings as its module shows them, with the fade.
    OnuOptics shownOptics() const;

    bool operator==(const Onu&) const = default;
};

/// The ONUs of a card, by where they were installed. A list: an ONU stays in its place in memory
/// when it moves to another card.
using OnuList = std::list<Onu>;

/// The ONUs that are installed at a card, by port and index.
OnuList makeOnus(int slot, unsigned perPort, Random& random);

/// A card tells its links apart by a number, 0 to kMostLinks - 1, from which their LLID and the
/// endpoints of their queues follow.
void assignNumber(Onu& onu, unsigned number);
unsigned numberOf(const Onu& onu);

/// The 26 bytes that answer Get ONU Information and go with Link Discovery.
void writeLinkInformation(const Onu& onu, Writer& data);

/// The MAC as a number, first byte most significant: what payloads of its link are kept by.
std::uint64_t linkKey(const MacAddress& mac);

}  // namespace ponmgr::sim
