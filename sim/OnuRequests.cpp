#include <algorithm>

#include "sim/RequestHandlers.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kVlanFlagOffset = 12;
constexpr std::size_t kVlanTagOffset = 13;
constexpr std::size_t kVlanTagSize = 4;
constexpr std::uint16_t kVlanTagType = 0x8100;

/// The ONU whose MAC the payload begins with; null when it isn't on-line.
Onu* onlineOnu(Exchange& exchange) {
    const auto mac = exchange.request.payload.first(MacAddress{}.size());
    auto& onus = exchange.card.onus;
    const auto found = std::ranges::find_if(
        onus, [&](const Onu& onu) { return onu.discovered && std::ranges::equal(onu.mac, mac); });
    return found == onus.end() ? nullptr : &*found;
}

}  // namespace

Result getOnuInformation(Exchange& exchange) {
    const auto* onu = onlineOnu(exchange);
    if (onu == nullptr) {
        return Result::parameterOutOfRange;
    }
    writeLinkInformation(*onu, exchange.answer);
    return Result::ok;
}

Result getDiagnosis(Exchange& exchange) {
    const auto* onu = onlineOnu(exchange);
    if (onu == nullptr) {
        return Result::parameterOutOfRange;
    }
    const auto optics = onu->shownOptics();
    exchange.answer.copy(onu->mac);
    exchange.answer.u16(optics.temperature);
    exchange.answer.u16(optics.supplyVoltage);
    exchange.answer.u16(optics.biasCurrent);
    exchange.answer.u16(optics.powerIn);
    exchange.answer.u16(optics.powerOut);
    return Result::ok;
}

Result resetOnu(Exchange& exchange) {
    auto* const onu = onlineOnu(exchange);
    if (onu == nullptr) {
        return Result::parameterOutOfRange;
    }
    exchange.after = {AfterAnswer::Action::resetOnu, onu};
    return Result::ok;
}

Result setOnOnu(Exchange& exchange) {
    return onlineOnu(exchange) != nullptr ? Result::ok : Result::parameterOutOfRange;
}

Result setOnuPortVlan(Exchange& exchange) {
    const bool tagged = exchange.request.payload[kVlanFlagOffset] == 1;
    Reader tag(exchange.request.payload.subspan(kVlanTagOffset));
    if (tag.left() != (tagged ? kVlanTagSize : 0) || (tagged && tag.u16() != kVlanTagType)) {
        return Result::parameterOutOfRange;
    }
    return setOnOnu(exchange);
}

}  // namespace ponmgr::sim
