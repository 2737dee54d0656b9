#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "sim/Onu.h"
#include "sim/PayloadStore.h"
#include "sim/RuleTable.h"

namespace ponmgr::sim {

/// OUI of the OAM extension set that tells a configured card from one that isn't.
inline constexpr Oui kMarkerOui{0x11, 0x11, 0x11};

struct ExtensionSet {
    std::uint8_t type = 0;
    std::uint8_t version = 0;
    Oui oui{};
    bool enabled = false;

    bool operator==(const ExtensionSet&) const = default;
};

struct Domain {
    std::uint16_t id = 0;
    /// Groups of paths in the domain.
    std::uint16_t count = 0;
    /// The service paths that the domain's groups name.
    std::vector<std::uint16_t> paths;

    bool operator==(const Domain&) const = default;
};

struct Path {
    /// Its two ends as they were set, 12 bytes.
    std::vector<std::uint8_t> ends;
    /// Users of the path beyond the domains that name it.
    std::uint16_t otherUsers = 0;

    bool operator==(const Path&) const = default;
};

/// All that the manager sets on a card; what its non-volatile storage holds while that is on.
struct CardConfiguration {
    static constexpr std::size_t kMostDomains = 64;
    static constexpr std::size_t kMostPaths = 256;
    /// PON ports 0 and 1, network ports 2 and 3.
    static constexpr std::size_t kRulePorts = 4;

    std::array<ExtensionSet, 4> extensionSets;
    bool enabled = true;
    std::uint8_t bridgingType = 0;
    std::uint16_t macTableEntryLimit = 64;
    std::vector<Domain> domains;
    std::map<std::uint16_t, Path> paths;
    std::array<RuleTable, kRulePorts> rules;
    PayloadStore accepted;

    /// A card as it leaves the factory.
    static CardConfiguration factory();
    /// A card with the marker, the eight service paths and the domain that names them.
    static CardConfiguration provisioned();

    /// Whether the first set of the marker's OUI is enabled.
    bool isMarked() const;
    /// Adds a domain or replaces the one of the same id. False when there are too many.
    bool setDomain(const Domain& domain);
    bool setPath(std::uint16_t pathId, std::vector<std::uint8_t> ends);
    /// A path such as earlier services leave behind. False when there are too many.
    bool setLeftoverPath(std::uint16_t pathId, std::uint16_t users);
    /// How many domains name the path, and its other users.
    std::uint16_t usageOfPath(std::uint16_t pathId) const;

    bool operator==(const CardConfiguration&) const = default;
};

}  // namespace ponmgr::sim
