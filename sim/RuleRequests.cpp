#include <optional>

#include "sim/RequestHandlers.h"

namespace ponmgr::sim {

namespace {

/// Entity tag, MAC and port.
constexpr std::size_t kTargetSize = 9;
constexpr std::uint8_t kNoFlags = 0;

RuleTable* tableOf(Exchange& exchange) {
    auto& tables = exchange.card.configuration.rules;
    return exchange.key < tables.size() ? &tables.at(exchange.key) : nullptr;
}

/// What follows the target: flags, a count and that many rules. Nothing when it isn't exactly that.
std::optional<std::vector<Rule>> readRules(const Exchange& exchange) {
    Reader reader(exchange.request.payload.subspan(kTargetSize));
    reader.u8();
    std::vector<Rule> rules;
    for (auto left = reader.u8(); left > 0; --left) {
        auto rule = readRule(reader);
        if (!rule) {
            return std::nullopt;
        }
        rules.push_back(*rule);
    }
    return reader.complete() && !rules.empty() ? std::optional(rules) : std::nullopt;
}

}  // namespace

Result getRules(Exchange& exchange) {
    const auto* table = tableOf(exchange);
    if (table == nullptr) {
        return Result::parameterOutOfRange;
    }
    exchange.answer.copy(exchange.request.payload);
    exchange.answer.u8(kNoFlags);
    exchange.answer.u8(static_cast<std::uint8_t>(table->all().size()));
    for (const auto& rule : table->all()) {
        exchange.answer.copy(rule);
    }
    return Result::ok;
}

Result addRules(Exchange& exchange) {
    auto* const table = tableOf(exchange);
    const auto rules = readRules(exchange);
    if (table == nullptr || !rules) {
        return Result::parameterOutOfRange;
    }
    auto changed = *table;
    for (const auto& rule : *rules) {
        if (!changed.add(rule)) {
            return Result::parameterOutOfRange;
        }
    }
    *table = changed;
    return Result::ok;
}

Result deleteRules(Exchange& exchange) {
    auto* const table = tableOf(exchange);
    const auto rules = readRules(exchange);
    if (table == nullptr || !rules) {
        return Result::parameterOutOfRange;
    }
    for (const auto& rule : *rules) {
        table->remove(rule);
    }
    return Result::ok;
}

}  // namespace ponmgr::sim
