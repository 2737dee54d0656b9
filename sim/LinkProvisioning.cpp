#include "sim/LinkProvisioning.h"

#include <algorithm>

#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kVlanOffset = 15;

std::uint64_t keyOfLink(const Onu& onu) {
    return linkKey(onu.mac);
}

template <std::uint16_t QueueEndpoints::*endpoint>
std::uint64_t keyOfQueue(const Onu& onu) {
    return queueKey(onu.queues.*endpoint);
}

/// One thing that is set for a link, and how it is found among what the card has accepted.
struct LinkSetting {
    std::uint16_t id;
    std::uint64_t (*key)(const Onu& onu);
    /// What its lack is called; empty when a link is complete without.
    std::string_view missing;
};

constexpr LinkSetting kLinkSettings[] = {
    {id::kEnableLink, keyOfLink, "not enabled"},
    {id::kSetLinkSla, keyOfLink, "no link SLA"},
    {id::kSetQueueSla, keyOfQueue<&QueueEndpoints::downstream>, "no downstream queue SLA"},
    {id::kSetQueueSla, keyOfQueue<&QueueEndpoints::upstream>, "no upstream queue SLA"},
    {id::kSetQueueSla, keyOfQueue<&QueueEndpoints::multicast>, "no multicast queue SLA"},
    {id::kSetEthernetPort, keyOfLink, ""},
    {id::kOnuPortVlan, keyOfLink, ""},
};

bool isSet(const CardConfiguration& configuration, const Onu& onu, const LinkSetting& setting) {
    return configuration.accepted.find(setting.id, setting.key(onu)) != nullptr;
}

void writeSla(Writer& payload) {
    payload.u32(0);
    payload.u16(0xFFFF);
    payload.u8(0xFF);
    payload.u16(0xFFFF);
    payload.u32(1000000);
    payload.u16(200);
    payload.u8(2);
    payload.u16(16);
}

Writer linkSlaPayload(const Onu& onu) {
    Writer payload;
    payload.copy(onu.mac);
    writeSla(payload);
    payload.u8(1);
    payload.u8(2);
    payload.zeros(8);
    return payload;
}

Writer queueSlaPayload(std::uint16_t endpoint) {
    Writer payload;
    payload.u16(endpoint);
    payload.u16(0);
    writeSla(payload);
    return payload;
}

Writer ethernetUpPayload(const Onu& onu) {
    Writer payload;
    payload.copy(onu.mac);
    payload.copy(std::array<std::uint8_t, 10>{0x80, 1, 1, 0, 0, 1, 1, 1, 1, 1});
    return payload;
}

}  // namespace

std::uint64_t queueKey(std::uint16_t endpoint) {
    return std::uint64_t{endpoint} << 16;
}

bool isKnown(const CardConfiguration& configuration, const Onu& onu) {
    return std::ranges::any_of(kLinkSettings, [&](const LinkSetting& setting) {
        return !setting.missing.empty() && isSet(configuration, onu, setting);
    });
}

bool isProvisioned(const CardConfiguration& configuration, const Onu& onu) {
    return std::ranges::all_of(kLinkSettings, [&](const LinkSetting& setting) {
        return setting.missing.empty() || isSet(configuration, onu, setting);
    });
}

std::vector<std::string_view> missingProvisioning(const CardConfiguration& configuration,
                                                  const Onu& onu) {
    std::vector<std::string_view> missing;
    for (const auto& setting : kLinkSettings) {
        if (!setting.missing.empty() && !isSet(configuration, onu, setting)) {
            missing.push_back(setting.missing);
        }
    }
    return missing;
}

void provision(CardConfiguration& configuration, const Onu& onu) {
    auto& accepted = configuration.accepted;
    const auto link = linkKey(onu.mac);
    accepted.put(id::kEnableLink, link, onu.mac);
    accepted.put(id::kSetLinkSla, link, linkSlaPayload(onu).view());
    for (const auto endpoint : {onu.queues.downstream, onu.queues.upstream, onu.queues.multicast}) {
        accepted.put(id::kSetQueueSla, queueKey(endpoint), queueSlaPayload(endpoint).view());
    }
    accepted.put(id::kSetEthernetPort, link, ethernetUpPayload(onu).view());
}

void forgetAtRestart(CardConfiguration& configuration, const Onu& onu) {
    configuration.accepted.erase(id::kSetEthernetPort, linkKey(onu.mac));
}

void clearProvisioning(CardConfiguration& configuration, const Onu& onu) {
    for (const auto& setting : kLinkSettings) {
        configuration.accepted.erase(setting.id, setting.key(onu));
    }
}

bool isEnabled(const CardConfiguration& configuration, const Onu& onu) {
    return configuration.accepted.find(id::kEnableLink, linkKey(onu.mac)) != nullptr;
}

bool hasLinkSla(const CardConfiguration& configuration, const Onu& onu) {
    return configuration.accepted.find(id::kSetLinkSla, linkKey(onu.mac)) != nullptr;
}

bool hasQueueSla(const CardConfiguration& configuration, std::uint16_t endpoint) {
    return configuration.accepted.find(id::kSetQueueSla, queueKey(endpoint)) != nullptr;
}

bool isEthernetUp(const CardConfiguration& configuration, const Onu& onu) {
    return configuration.accepted.find(id::kSetEthernetPort, linkKey(onu.mac)) != nullptr;
}

std::uint16_t portVlan(const CardConfiguration& configuration, const Onu& onu) {
    const auto* payload = configuration.accepted.find(id::kOnuPortVlan, linkKey(onu.mac));
    if (payload == nullptr || payload->size() <= kVlanOffset) {
        return 0;
    }
    Reader reader{std::span<const std::uint8_t>(*payload).subspan(kVlanOffset)};
    return reader.u16();
}

}  // namespace ponmgr::sim
