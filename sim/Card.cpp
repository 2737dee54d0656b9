#include "sim/Card.h"

#include <algorithm>

#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {

namespace {

constexpr MacAddress kFirstMac{0x00, 0x0D, 0xB6, 0x00, 0x00, 0x00};
constexpr std::size_t kVendorInfoSize = 64;
/// Bytes of information after the MAC and this length itself.
constexpr std::uint16_t kInformationLength = 83;

}  // namespace

Card::Card(int slotNumber, Endpoint boundTo) : slot(slotNumber), address(boundTo) {
    identity.mac = kFirstMac;
    identity.mac.back() = static_cast<std::uint8_t>(slotNumber);
}

void Card::beginReset() {
    if (nvsCurrent) {
        stored = configuration;
    }
    takeLinksDown();
    resetting = true;
    ++resets;
}

void Card::finishReset() {
    nvsCurrent = nvsAfterNextBoot;
    configuration = nvsCurrent ? stored : CardConfiguration::factory();
    resetting = false;
}

bool Card::reaches(const Onu& onu) const {
    return onu.plugged && onu.powered && fibreIntact.at(onu.port);
}

Onu* Card::findLink(const MacAddress& mac) {
    const auto found = std::ranges::find(onus, mac, &Onu::mac);
    const bool isLink =
        found != onus.end() && (found->discovered || isKnown(configuration, *found));
    return isLink ? &*found : nullptr;
}

Onu* Card::findOnu(const OnuAddress& installed) {
    const auto found = std::ranges::find(onus, installed, &Onu::address);
    return found == onus.end() ? nullptr : &*found;
}

void Card::takeLinksDown() {
    for (auto& onu : onus) {
        onu.discovered = false;
    }
}

std::vector<std::string_view> Card::whyNotInService() const {
    if (resetting) {
        return {"resetting"};
    }
    std::vector<std::string_view> reasons;
    if (nvsCurrent) {
        reasons.emplace_back("NVS is on");
    }
    if (!configuration.isMarked()) {
        reasons.emplace_back("not marked as configured");
    }
    if (!configuration.enabled) {
        reasons.emplace_back("OLT is disabled");
    }
    return reasons;
}

std::string_view Card::stateWord() const {
    if (resetting) {
        return "resetting";
    }
    if (isInService()) {
        return "in-service";
    }
    if (configuration.isMarked()) {
        return "configured";
    }
    return nvsCurrent ? "factory" : "blank";
}

void writeOltInformation(const CardIdentity& identity, Writer& data) {
    data.copy(identity.mac);
    data.u16(kInformationLength);
    data.copy(identity.vendorOui);
    data.copy(identity.productCode);
    data.copy(identity.productVersion);
    data.copy(identity.firmwareVersion);
    data.text(identity.vendorInfo, kVendorInfoSize);
    data.u16(identity.jedecId);
    data.copy(identity.chipId);
    data.copy(identity.chipVersion);
    data.u8(identity.eponPorts);
    data.u8(identity.nniPorts);
}

}  // namespace ponmgr::sim
