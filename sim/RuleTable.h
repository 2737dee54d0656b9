#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "sim/Wire.h"

namespace ponmgr::sim {

using Rule = std::vector<std::uint8_t>;

/// Reads one classification rule: 18 bytes, and when the length in the fourth of them is greater
/// than 1, that many less one more. The length is written in decimal: byte 12h is twelve, and a
/// digit a to f counts 49 to 54. Nothing when the bytes aren't there.
std::optional<Rule> readRule(Reader& reader);

/// The classification rules of one port, in the order they were added.
class RuleTable {
public:
    /// All rules of a port fit into one answer of one Ethernet frame.
    static constexpr std::size_t kCapacityInBytes = 1400;

    /// Adding a rule that is there already changes nothing. False when the table is full.
    bool add(const Rule& rule);
    void remove(const Rule& rule);
    const std::vector<Rule>& all() const { return rules; }
    bool operator==(const RuleTable&) const = default;

private:
    std::vector<Rule> rules;
};

}  // namespace ponmgr::sim
