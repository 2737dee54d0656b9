#include <algorithm>

#include "sim/LinkProvisioning.h"
#include "sim/RequestHandlers.h"
#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

/// The link whose MAC the payload begins with; null when the card has no such link.
const Onu* linkOf(const Exchange& exchange) {
    MacAddress mac{};
    std::ranges::copy(exchange.request.payload.first(mac.size()), mac.begin());
    return exchange.card.findLink(mac);
}

/// A path, or a queue of one of the card's links.
bool isEndpoint(const Card& card, std::uint16_t endpoint) {
    return card.configuration.paths.contains(endpoint) || card.findLinkOfQueue(endpoint) != nullptr;
}

/// Endpoint, and the index of its only queue.
void writeQueue(Writer& data, std::uint16_t endpoint) {
    data.u16(endpoint);
    data.u16(0);
}

}  // namespace

Result listDiscoveredLinks(Exchange& exchange) {
    for (const auto& onu : exchange.card.onus) {
        if (onu.discovered) {
            exchange.answer.copy(onu.mac);
        }
    }
    return Result::ok;
}

Result listKnownLinks(Exchange& exchange) {
    for (const auto* link : exchange.card.links()) {
        if (isKnown(exchange.card.configuration, *link)) {
            exchange.answer.copy(link->mac);
        }
    }
    return Result::ok;
}

Result setOnLink(Exchange& exchange) {
    return linkOf(exchange) != nullptr ? Result::ok : Result::parameterOutOfRange;
}

Result setQueueSla(Exchange& exchange) {
    Reader reader(exchange.request.payload);
    return isEndpoint(exchange.card, reader.u16()) ? Result::ok : Result::parameterOutOfRange;
}

Result clearLink(Exchange& exchange) {
    const auto* onu = linkOf(exchange);
    if (onu == nullptr) {
        return Result::parameterOutOfRange;
    }
    clearProvisioning(exchange.card.configuration, *onu);
    return Result::ok;
}

Result clearAllowedLinks(Exchange& exchange) {
    for (const auto* onus : {&exchange.card.onus, &exchange.card.departed}) {
        for (const auto& onu : *onus) {
            if (onu.port == exchange.key) {
                clearProvisioning(exchange.card.configuration, onu);
            }
        }
    }
    return Result::ok;
}

Result getBridgingMode(Exchange& exchange) {
    const auto* onu = linkOf(exchange);
    if (onu == nullptr) {
        return Result::parameterOutOfRange;
    }
    exchange.answer.copy(onu->mac);
    exchange.answer.u8(exchange.card.configuration.bridgingType);
    exchange.answer.u16(exchange.card.configuration.macTableEntryLimit);
    writeQueue(exchange.answer, onu->queues.downstream);
    writeQueue(exchange.answer, onu->queues.upstream);
    writeQueue(exchange.answer, onu->queues.multicast);
    return Result::ok;
}

}  // namespace ponmgr::sim
