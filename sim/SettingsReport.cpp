#include "sim/SettingsReport.h"

#include <nlohmann/json.hpp>

#include "sim/LinkProvisioning.h"
#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kMacSize = 6;
/// Endpoint and index of a queue.
constexpr std::size_t kQueueSize = 4;

/// What a payload begins with.
enum class Lead : std::uint8_t { nothing, port, domain };

struct CardSetting {
    std::uint16_t id;
    const char* name;
    Lead lead;
};

constexpr CardSetting kCardSettings[] = {
    {1, "oam_rate", Lead::nothing},
    {80, "bridging", Lead::nothing},
    {294, "allowed_links_cleared", Lead::port},
    {335, "multicast", Lead::nothing},
    {337, "multicast_proxy", Lead::domain},
    {349, "multicast_host_copy", Lead::domain},
    {355, "dba_polling_interval", Lead::port},
    {359, "loop_timing", Lead::port},
    {371, "aggregate_bandwidth", Lead::port},
    {393, "encryption", Lead::port},
    {403, "domain_rules", Lead::domain},
    {412, "dba_aggregate_bandwidth", Lead::port},
    {544, "sync_time", Lead::port},
    {549, "domains", Lead::domain},
};

Json settingValue(Lead lead, std::span<const std::uint8_t> payload) {
    Reader reader(payload);
    auto value = Json::object();
    if (lead == Lead::port) {
        reader.take(kMacSize);
        value["port"] = reader.u16();
    } else if (lead == Lead::domain) {
        value["domain"] = reader.u16();
    }
    value["data"] = hexText(reader.take(reader.left()));
    return value;
}

Json onuSetting(const CardConfiguration& configuration, std::uint16_t id, std::uint64_t key,
                std::size_t lead) {
    const auto* payload = configuration.accepted.find(id, key);
    if (payload == nullptr || payload->size() < lead) {
        return nullptr;
    }
    return hexText(std::span<const std::uint8_t>(*payload).subspan(lead));
}

}  // namespace

Json cardSettings(const CardConfiguration& configuration) {
    auto settings = Json::object();
    const auto& accepted = configuration.accepted;
    for (const auto& setting : kCardSettings) {
        auto values = Json::array();
        for (const auto key : accepted.keysOf(setting.id)) {
            values.push_back(settingValue(setting.lead, *accepted.find(setting.id, key)));
        }
        settings[setting.name] = std::move(values);
    }
    return settings;
}

Json onuSettings(const CardConfiguration& configuration, const Onu& onu) {
    const auto ofLink = [&](std::uint16_t id) {
        return onuSetting(configuration, id, linkKey(onu.mac), kMacSize);
    };
    const auto ofQueue = [&](std::uint16_t endpoint) {
        return onuSetting(configuration, id::kSetQueueSla, queueKey(endpoint), kQueueSize);
    };
    return {{"link_sla", ofLink(id::kSetLinkSla)},
            {"downstream_queue_sla", ofQueue(onu.queues.downstream)},
            {"upstream_queue_sla", ofQueue(onu.queues.upstream)},
            {"multicast_queue_sla", ofQueue(onu.queues.multicast)},
            {"ethernet_port", ofLink(id::kSetEthernetPort)},
            {"port_vlan", ofLink(id::kOnuPortVlan)}};
}

}  // namespace ponmgr::sim
