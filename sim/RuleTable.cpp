#include "sim/RuleTable.h"

#include <algorithm>

namespace ponmgr::sim {

namespace {

constexpr std::size_t kShortestRule = 18;
constexpr std::size_t kOperandLengthOffset = 3;

}  // namespace

std::optional<Rule> readRule(Reader& reader) {
    const auto fixed = reader.take(kShortestRule);
    if (reader.failed()) {
        return std::nullopt;
    }
    const auto operandLength = std::max<std::size_t>(fixed[kOperandLengthOffset], 1);
    const auto more = reader.take(operandLength - 1);
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
