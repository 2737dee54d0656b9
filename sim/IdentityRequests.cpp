#include <algorithm>
#include <array>
#include <optional>

#include "sim/RequestHandlers.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kExtensionSetPrefixSize = 7;
constexpr std::size_t kExtensionSetRecordSize = 7;
/// Version, OUI and state.
constexpr std::uint8_t kExtensionSetLength = 5;

/// The answer to a statistics request begins with the 9 bytes that name the port.
constexpr std::size_t kStatisticsTargetSize = 9;
constexpr std::uint16_t kOpticsGroup = 11;
constexpr std::uint8_t kEveryElement = 255;

struct OpticsElement {
    std::uint8_t element;
    std::uint16_t PortOptics::*reading;
};

constexpr OpticsElement kOpticsElements[] = {
    {4, &PortOptics::transmitPower},
    {5, &PortOptics::supplyVoltage},
    {6, &PortOptics::biasCurrent},
    {7, &PortOptics::temperature},
};

ExtensionSet* findSet(Card& card, std::uint8_t type) {
    auto& sets = card.configuration.extensionSets;
    auto* const found = std::ranges::find(sets, type, &ExtensionSet::type);
    return found == sets.end() ? nullptr : found;
}

void writeSet(const ExtensionSet& set, Writer& data) {
    data.u8(set.type);
    data.u8(kExtensionSetLength);
    data.u8(set.version);
    data.copy(set.oui);
    data.u8(set.enabled ? 1 : 0);
}

std::optional<ExtensionSet> readSet(Reader& reader) {
    ExtensionSet set;
    set.type = reader.u8();
    const auto length = reader.u8();
    set.version = reader.u8();
    const auto oui = reader.take(set.oui.size());
    const auto state = reader.u8();
    if (reader.failed() || length != kExtensionSetLength || state > 1) {
        return std::nullopt;
    }
    std::ranges::copy(oui, set.oui.begin());
    set.enabled = state == 1;
    return set;
}

}  // namespace

Result resetOlt(Exchange& exchange) {
    exchange.after.action = AfterAnswer::Action::resetCard;
    return Result::ok;
}

Result getOltInformation(Exchange& exchange) {
    writeOltInformation(exchange.card.identity, exchange.answer);
    return Result::ok;
}

Result enableOlt(Exchange& exchange) {
    exchange.card.configuration.enabled = true;
    exchange.after.action = AfterAnswer::Action::registerOnus;
    return Result::ok;
}

Result disableOlt(Exchange& exchange) {
    exchange.card.configuration.enabled = false;
    exchange.card.takeLinksDown();
    return Result::ok;
}

Result getNvsEnabled(Exchange& exchange) {
    exchange.answer.u8(exchange.card.nvsAfterNextBoot ? 1 : 0);
    exchange.answer.u8(exchange.card.nvsCurrent ? 1 : 0);
    return Result::ok;
}

Result setNvsEnabled(Exchange& exchange) {
    exchange.card.nvsAfterNextBoot = exchange.request.payload[0] == 1;
    return Result::ok;
}

Result getExtensionSets(Exchange& exchange) {
    Reader reader(exchange.request.payload.subspan(kExtensionSetPrefixSize));
    if (reader.left() > 2 * exchange.card.configuration.extensionSets.size()) {
        return Result::parameterOutOfRange;
    }
    exchange.answer.copy(exchange.request.payload.first(kExtensionSetPrefixSize));
    while (reader.left() > 0) {
        const auto* set = findSet(exchange.card, reader.u8());
        const auto length = reader.u8();
        if (reader.failed() || set == nullptr || length != 0) {
            return Result::parameterOutOfRange;
        }
        writeSet(*set, exchange.answer);
    }
    return Result::ok;
}

Result setExtensionSets(Exchange& exchange) {
    auto sets = exchange.card.configuration.extensionSets;
    Reader reader(exchange.request.payload.subspan(kExtensionSetPrefixSize));
    if (reader.left() < kExtensionSetRecordSize) {
        return Result::parameterOutOfRange;
    }
    while (reader.left() > 0) {
        const auto wanted = readSet(reader);
        if (!wanted) {
            return Result::parameterOutOfRange;
        }
        auto* const present = std::ranges::find(sets, wanted->type, &ExtensionSet::type);
        if (present == sets.end()) {
            return Result::parameterOutOfRange;
        }
        *present = *wanted;
    }
    exchange.card.configuration.extensionSets = sets;
    return Result::ok;
}

Result getStatistics(Exchange& exchange) {
    Reader reader(exchange.request.payload);
    exchange.answer.copy(reader.take(kStatisticsTargetSize));
    const auto group = reader.u16();
    const auto element = reader.u8();
    if (group != kOpticsGroup) {
        return Result::ok;
    }
    const auto& optics = exchange.card.optics.at(exchange.key);
    for (const auto& entry : kOpticsElements) {
        if (element == kEveryElement || element == entry.element) {
            exchange.answer.u16(kOpticsGroup);
            exchange.answer.u8(entry.element);
            exchange.answer.u8(0);
            exchange.answer.u64(optics.*entry.reading);
        }
    }
    return Result::ok;
}

}  // namespace ponmgr::sim
