#include "sim/RequestHandlers.h"
#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kVlanFlagOffset = 12;
constexpr std::size_t kVlanTagOffset = 13;
constexpr std::size_t kVlanTagSize = 4;
constexpr std::uint16_t kVlanTagType = 0x8100;
/// Endpoint and queue index, for the downstream, upstream and multicast queue.
constexpr std::size_t kNoQueuesSize = 12;

constexpr std::uint16_t kKeptPerLink[] = {id::kOnuPortVlan, id::kSetEthernetPort, id::kEnableLink,
                                          id::kSetLinkSla};

}  // namespace

Result listNoLinks(Exchange&) {
    return Result::ok;
}

Result noSuchLink(Exchange&) {
    return Result::parameterOutOfRange;
}

Result clearLink(Exchange& exchange) {
    for (const auto request : kKeptPerLink) {
        exchange.card.configuration.accepted.erase(request, exchange.key);
    }
    return Result::ok;
}

Result getBridgingMode(Exchange& exchange) {
    exchange.answer.copy(exchange.request.payload);
    exchange.answer.u8(exchange.card.configuration.bridgingType);
    exchange.answer.u16(exchange.card.configuration.macTableEntryLimit);
    exchange.answer.zeros(kNoQueuesSize);
    return Result::ok;
}

Result setOnuPortVlan(Exchange& exchange) {
    const bool tagged = exchange.request.payload[kVlanFlagOffset] == 1;
    Reader tag(exchange.request.payload.subspan(kVlanTagOffset));
    if (tag.left() != (tagged ? kVlanTagSize : 0)) {
        return Result::parameterOutOfRange;
    }
    return !tagged || tag.u16() == kVlanTagType ? Result::ok : Result::parameterOutOfRange;
}

}  // namespace ponmgr::sim
