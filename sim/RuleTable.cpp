#include "sim/RuleTable.h"

#include <algorithm>

namespace ponmgr::sim {

namespace {

constexpr std::size_t kShortestRule = 18;
constexpr std::size_t kOperandLengthOffset = 3;

/// Of a hex digit, as the cards' own tools read it.
unsigned decimalReading(unsigned digit) {
    constexpr unsigned kLetterA = 'a' - '0';
    return digit < 10 ? digit : kLetterA + digit - 10;
}

std::uint8_t operandLength(std::uint8_t written) {
    return static_cast<std::uint8_t>(10 * decimalReading(written >> 4) +
                                     decimalReading(written & 0x0F));
}

}  // namespace

std::optional<Rule> readRule(Reader& reader) {
    const auto fixed = reader.take(kShortestRule);
    if (reader.failed()) {
        return std::nullopt;
    }
    const auto length = std::max<std::size_t>(operandLength(fixed[kOperandLengthOffset]), 1);
    const auto more = reader.take(length - 1);
    if (reader.failed()) {
        return std::nullopt;
    }
    Rule rule(fixed.begin(), fixed.end());
    rule.insert(rule.end(), more.begin(), more.end());
    return rule;
}

bool RuleTable::add(const Rule& rule) {
    if (std::ranges::find(rules, rule) != rules.end()) {
        return true;
    }
    std::size_t used = rule.size();
    for (const auto& present : rules) {
        used += present.size();
    }
    if (used > kCapacityInBytes) {
        return false;
    }
    rules.push_back(rule);
    return true;
}

void RuleTable::remove(const Rule& rule) {
    std::erase(rules, rule);
}

}  // namespace ponmgr::sim
