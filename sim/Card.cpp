#include "sim/Card.h"

#include <algorithm>

#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {

namespace {

constexpr MacAddress kFirstMac{0x00, 0x0D, 0xB6, 0x00, 0x00, 0x00};
constexpr std::size_t kVendorInfoSize = 64;
/// Bytes of information after the MAC and this length itself.
constexpr std::uint16_t kInformationLength = 83;

bool isQueueOf(const Onu& onu, std::uint16_t endpoint) {
    return endpoint == onu.queues.downstream || endpoint == onu.queues.upstream ||
           endpoint == onu.queues.multicast;
}

/// Of the card that came into the slot after so many others. The addresses come round again after
/// 256 cards.
MacAddress macOf(int slot, std::uint32_t swaps) {
    auto mac = kFirstMac;
    mac[4] = static_cast<std::uint8_t>(swaps);
    mac[5] = static_cast<std::uint8_t>(slot);
    return mac;
}

}  // namespace

Card::Card(int slotNumber, Endpoint boundTo) : slot(slotNumber), address(boundTo) {
    identity.mac = macOf(slot, 0);
}

void Card::drawOptics() {
    for (auto& typical : typicalOptics) {
        typical = typicalPortOptics(random);
    }
    optics = typicalOptics;
}

void Card::beginReset() {
    loseVolatile();
    resetting = true;
    ++resets;
}

void Card::loseVolatile() {
    if (nvsCurrent) {
        stored = configuration;
    } else {
        configuration = CardConfiguration::factory();
    }
    takeLinksDown();
    lastSequence = 0;
    ++incarnation;
}

void Card::loseSlot() {
    loseVolatile();
    present = false;
    resetting = false;
}

void Card::enterSlot() {
    present = true;
    resetting = true;
    lastSequence = 0;
    ++incarnation;
}

void Card::replace(const std::array<std::uint8_t, 2>& productCode) {
    ++swaps;
    identity = CardIdentity{};
    identity.mac = macOf(slot, swaps);
    identity.productCode = productCode;
    drawOptics();
    muted = false;
    restoreFactory();
}

void Card::restoreFactory() {
    nvsCurrent = true;
    nvsAfterNextBoot = true;
    stored = CardConfiguration::factory();
    configuration = stored;
}

void Card::finishReset() {
    nvsCurrent = nvsAfterNextBoot;
    configuration = nvsCurrent ? stored : CardConfiguration::factory();
    resetting = false;
}

bool Card::reaches(const Onu& onu) const {
    return present && onu.plugged && onu.powered && fibreIntact.at(onu.port);
}

const Onu* Card::findLink(const MacAddress& mac) const {
    for (const auto* list : {&onus, &departed}) {
        const auto found = std::ranges::find(*list, mac, &Onu::mac);
        if (found != list->end() && isLink(*found)) {
            return &*found;
        }
    }
    return nullptr;
}

std::vector<const Onu*> Card::links() const {
    std::vector<const Onu*> found;
    for (const auto* list : {&onus, &departed}) {
        for (const auto& onu : *list) {
            if (isLink(onu)) {
                found.push_back(&onu);
            }
        }
    }
    return found;
}

const Onu* Card::findLinkOfQueue(std::uint16_t endpoint) const {
    for (const auto* list : {&onus, &departed}) {
        for (const auto& onu : *list) {
            if (isQueueOf(onu, endpoint) && isLink(onu)) {
                return &onu;
            }
        }
    }
    return nullptr;
}

bool Card::isLink(const Onu& onu) const {
    return onu.discovered || isKnown(configuration, onu);
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
    if (!present) {
        return {"the slot is empty"};
    }
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
    if (!present) {
        return "absent";
    }
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
