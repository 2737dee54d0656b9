#include "sim/CardReport.h"

#include <nlohmann/json.hpp>

#include "sim/LinkProvisioning.h"
#include "sim/OnuReport.h"
#include "sim/RequestNames.h"
#include "sim/SettingsReport.h"

namespace ponmgr::sim {

namespace {

struct CounterEntry {
    const char* name;
    std::uint64_t CardCounters::*value;
};

constexpr CounterEntry kCounters[] = {
    {"requests", &CardCounters::requests},
    {"answers", &CardCounters::answers},
    {"events", &CardCounters::events},
    {"unheard", &CardCounters::unheard},
    {"abandoned", &CardCounters::abandoned},
    {"too_short", &CardCounters::tooShort},
    {"not_requests", &CardCounters::notRequests},
};

Json domainList(const CardConfiguration& configuration) {
    auto list = Json::array();
    for (const auto& domain : configuration.domains) {
        list.push_back({{"id", domain.id}, {"count", domain.count}});
    }
    return list;
}

Json pathList(const CardConfiguration& configuration) {
    auto list = Json::array();
    for (const auto& [pathId, path] : configuration.paths) {
        list.push_back({{"id", pathId},
                        {"usage_count", configuration.usageOfPath(pathId)},
                        {"ends", hexText(path.ends)}});
    }
    return list;
}

Json extensionSetList(const CardConfiguration& configuration) {
    auto list = Json::array();
    for (const auto& set : configuration.extensionSets) {
        list.push_back({{"type", set.type},
                        {"version", set.version},
                        {"oui", hexText(set.oui)},
                        {"enabled", set.enabled}});
    }
    return list;
}

Json ruleLists(const CardConfiguration& configuration) {
    auto ports = Json::array();
    for (const auto& table : configuration.rules) {
        auto rules = Json::array();
        for (const auto& rule : table.all()) {
            rules.push_back(hexText(rule));
        }
        ports.push_back({{"port", ports.size()}, {"rules", rules}});
    }
    return ports;
}

Json acceptedList(const CardConfiguration& configuration) {
    auto list = Json::array();
    for (const auto& [messageId, count] : configuration.accepted.countPerId()) {
        list.push_back(
            {{"id", messageId}, {"name", nameOfMessage(messageId)}, {"payloads", count}});
    }
    return list;
}

/// The links of ONUs that hang at other cards now, as far as the card remembers them.
Json departedList(const Card& card) {
    auto list = Json::array();
    for (const auto& onu : card.departed) {
        if (isKnown(card.configuration, onu)) {
            list.push_back(toText(onu.mac));
        }
    }
    return list;
}

Json counterObject(const CardCounters& counters) {
    auto object = Json::object();
    for (const auto& counter : kCounters) {
        object[counter.name] = counters.*counter.value;
    }
    return object;
}

}  // namespace

Json cardRow(const Card& card) {
    const auto onus = countOnus(card);
    return {{"slot", card.slot},
            {"address", addressText(card.address.address)},
            {"port", card.address.port},
            {"mac", toText(card.identity.mac)},
            {"state", card.stateWord()},
            {"nvs", card.nvsCurrent},
            {"nvs_after_next_boot", card.nvsAfterNextBoot},
            {"marker", card.configuration.isMarked()},
            {"enabled", card.configuration.enabled},
            {"domains", domainList(card.configuration)},
            {"requests", card.counters.requests},
            {"muted", card.muted},
            {"onus_total", onus.total},
            {"onus_discovered", onus.discovered},
            {"onus_provisioned", onus.provisioned}};
}

Json cardDetails(const Card& card) {
    auto details = cardRow(card);
    const auto& configuration = card.configuration;
    details["why_not_in_service"] = card.whyNotInService();
    details["product_code"] = hexText(card.identity.productCode);
    details["product_version"] = hexText(card.identity.productVersion);
    details["firmware_version"] = hexText(card.identity.firmwareVersion);
    details["vendor_oui"] = hexText(card.identity.vendorOui);
    details["extension_sets"] = extensionSetList(configuration);
    details["fibre_intact"] = card.fibreIntact;
    details["bridging_type"] = configuration.bridgingType;
    details["paths"] = pathList(configuration);
    details["rule_ports"] = ruleLists(configuration);
    details["settings"] = cardSettings(configuration);
    details["accepted"] = acceptedList(configuration);
    details["departed_links"] = departedList(card);
    details["last_peer"] = card.lastPeer ? Json(toText(*card.lastPeer)) : Json(nullptr);
    details["resets"] = card.resets;
    details["counters"] = counterObject(card.counters);
    return details;
}

}  // namespace ponmgr::sim
