#include "sim/CardConfiguration.h"

#include <algorithm>
#include <utility>

namespace ponmgr::sim {

namespace {

constexpr std::array<ExtensionSet, 4> kFactoryExtensionSets{{
    {1, 0, {0x00, 0x0D, 0xB6}, true},
    {2, 0, kMarkerOui, false},
    {3, 0, {0xAA, 0xAA, 0xAA}, false},
    {4, 0, {0x00, 0xA1, 0xF5}, false},
}};

struct ServicePath {
    std::uint16_t pathId;
    std::uint8_t from;
    std::uint8_t to;
};

constexpr ServicePath kServicePaths[] = {
    {0x2000, 1, 2}, {0x2002, 1, 3}, {0x2004, 0, 3}, {0x2006, 0, 2},
    {0x2008, 0, 0}, {0x200A, 0, 2}, {0x200C, 1, 1}, {0x200E, 1, 3},
};

std::vector<std::uint8_t> pathEnds(std::uint8_t from, std::uint8_t to) {
    return {0, from, 0, 1, 0, 32, 0, to, 0, 1, 0, 32};
}

}  // namespace

CardConfiguration CardConfiguration::factory() {
    CardConfiguration configuration;
    configuration.extensionSets = kFactoryExtensionSets;
    return configuration;
}

CardConfiguration CardConfiguration::provisioned() {
    auto configuration = factory();
    for (auto& set : configuration.extensionSets) {
        set.enabled = set.enabled || set.oui == kMarkerOui;
    }
    for (const auto& path : kServicePaths) {
        configuration.paths[path.pathId].ends = pathEnds(path.from, path.to);
    }
    configuration.domains.push_back({0x0402, 2, {0x2004, 0x2006, 0x2000, 0x2002}});
    return configuration;
}

bool CardConfiguration::isMarked() const {
    const auto marker = std::ranges::find(extensionSets, kMarkerOui, &ExtensionSet::oui);
    return marker != extensionSets.end() && marker->enabled;
}

bool CardConfiguration::setDomain(const Domain& domain) {
    const auto present = std::ranges::find(domains, domain.id, &Domain::id);
    if (present != domains.end()) {
        *present = domain;
        return true;
    }
    if (domains.size() == kMostDomains) {
        return false;
    }
    domains.push_back(domain);
    return true;
}

bool CardConfiguration::setPath(std::uint16_t pathId, std::vector<std::uint8_t> ends) {
    if (paths.size() == kMostPaths && !paths.contains(pathId)) {
        return false;
    }
    paths[pathId].ends = std::move(ends);
    return true;
}

bool CardConfiguration::setLeftoverPath(std::uint16_t pathId, std::uint16_t users) {
    if (!setPath(pathId, pathEnds(0, 0))) {
        return false;
    }
    paths[pathId].otherUsers = users;
    return true;
}

std::uint16_t CardConfiguration::usageOfPath(std::uint16_t pathId) const {
    const auto naming = std::ranges::count_if(domains, [&](const Domain& domain) {
        return std::ranges::find(domain.paths, pathId) != domain.paths.end();
    });
    const auto path = paths.find(pathId);
    const auto others = path == paths.end() ? 0 : path->second.otherUsers;
    return static_cast<std::uint16_t>(naming + others);
}

}  // namespace ponmgr::sim
