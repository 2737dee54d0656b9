#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "Property.h"
#include "SimulatedCard.h"

namespace ponmgr::test {

// Random states of a simulated card.

/// Every field of the identity but the MAC is random.
inline sim::CardIdentity anyIdentity(const sim::MacAddress& mac) {
    sim::CardIdentity identity;
    identity.mac = mac;
    anyBytes("vendor OUI", identity.vendorOui);
    anyBytes("product code", identity.productCode);
    anyBytes("product version", identity.productVersion);
    anyBytes("firmware version", identity.firmwareVersion);
    const auto information = anyBytes("vendor information", anyNumber("its length", 0, 80));
    identity.vendorInfo.assign(information.begin(), information.end());
    identity.jedecId = any<std::uint16_t>("JEDEC id");
    anyBytes("chip id", identity.chipId);
    anyBytes("chip version", identity.chipVersion);
    identity.eponPorts = any<std::uint8_t>("EPON ports");
    identity.nniPorts = any<std::uint8_t>("NNI ports");
    return identity;
}

/// 18 bytes and the tail that the two hexadecimal digits of the fourth one promise, read as decimal
/// ones.
inline sim::Rule anyRule() {
    auto rule = anyBytes("rule", 18);
    // Short tails more often than not, so that several rules fit.
    rule[3] = any<bool>("any tail") ? rule[3] : static_cast<std::uint8_t>(rule[3] % 10);
    const auto digits = sim::hexText(Bytes{rule[3]});
    const auto length = static_cast<std::uint8_t>((digits[0] - '0') * 10 + (digits[1] - '0'));
    const auto tail = anyBytes("tail", length > 1 ? length - 1U : 0U);
    rule.insert(rule.end(), tail.begin(), tail.end());
    return rule;
}

/// Up to four rules at each port.
inline void addAnyRules(SimulatedCard& simulated) {
    for (auto& table : simulated.configuration().rules) {
        for (auto left = anyNumber("rules", 0, 4); left > 0; --left) {
            require(table.add(anyRule()), "the rule fits");
        }
    }
}

/// One of the two ONUs of a card with one per port; all but its port is random, and whether it is
/// registered is left as it is.
inline sim::Onu& anyOnu(SimulatedCard& simulated) {
    auto& onu = *std::next(simulated.card().onus.begin(),
                           static_cast<std::ptrdiff_t>(anyNumber("which ONU", 0, 1)));
    anyBytes("MAC of the ONU", onu.mac);
    anyBytes("vendor OUI", onu.vendorOui);
    anyBytes("product code", onu.productCode);
    anyBytes("product version", onu.productVersion);
    onu.llid = any<std::uint16_t>("LLID");
    onu.roundTripTime = any<std::uint16_t>("round-trip time");
    onu.queues = {any<std::uint16_t>("downstream queue"), any<std::uint16_t>("upstream queue"),
                  any<std::uint16_t>("multicast queue")};
    return onu;
}

/// Copies of ONUs that hang elsewhere now, each with a number that none of the card's own ONUs has:
/// the highest ones.
inline void addAnyDepartedOnus(SimulatedCard& simulated, std::uint64_t count) {
    sim::Random random(any<std::uint32_t>("seed of ONUs that moved away"));
    unsigned number = sim::kMostLinks;
    for (auto& onu : sim::makeOnus(2, static_cast<unsigned>(count), random)) {
        if (onu.port == 0) {
            sim::assignNumber(onu, --number);
            simulated.card().departed.push_back(onu);
        }
    }
}

}  // namespace ponmgr::test
