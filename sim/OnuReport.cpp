#include "sim/OnuReport.h"

#include <nlohmann/json.hpp>

#include "sim/LinkProvisioning.h"
#include "sim/SettingsReport.h"

namespace ponmgr::sim {

namespace {

const char* stateOf(const Card& card, const Onu& onu) {
    if (onu.discovered) {
        return "on-line";
    }
    if (!onu.plugged) {
        return "unplugged";
    }
    if (!onu.powered) {
        return "powered-off";
    }
    if (!card.fibreIntact.at(onu.port)) {
        return "fibre-cut";
    }
    if (!card.present) {
        return "no-card";
    }
    return onu.restarting ? "restarting" : "off-line";
}

Json opticsOf(const Onu& onu) {
    const auto optics = onu.shownOptics();
    return {{"temperature", optics.temperature},
            {"supply_voltage", optics.supplyVoltage},
            {"bias_current", optics.biasCurrent},
            {"power_in", optics.powerIn},
            {"power_out", optics.powerOut}};
}

Json queueOf(const CardConfiguration& configuration, std::uint16_t endpoint) {
    return {{"endpoint", endpoint}, {"sla", hasQueueSla(configuration, endpoint)}};
}

}  // namespace

Json onuRow(const Card& card, const Onu& onu) {
    const auto& configuration = card.configuration;
    return {{"onu", toText(onu.address)},
            {"mac", toText(onu.mac)},
            {"slot", onu.slot},
            {"port", onu.port},
            {"state", stateOf(card, onu)},
            {"known", isKnown(configuration, onu)},
            {"provisioned", isProvisioned(configuration, onu)},
            {"ethernet_up", isEthernetUp(configuration, onu)},
            {"vlan", portVlan(configuration, onu)}};
}

Json onuDetails(const Card& card, const Onu& onu) {
    const auto& configuration = card.configuration;
    auto details = onuRow(card, onu);
    details["plugged"] = onu.plugged;
    details["powered"] = onu.powered;
    details["discovered"] = onu.discovered;
    details["missing"] = missingProvisioning(configuration, onu);
    details["enabled"] = isEnabled(configuration, onu);
    details["link_sla"] = hasLinkSla(configuration, onu);
    details["queues"] = {{"downstream", queueOf(configuration, onu.queues.downstream)},
                         {"upstream", queueOf(configuration, onu.queues.upstream)},
                         {"multicast", queueOf(configuration, onu.queues.multicast)}};
    details["settings"] = onuSettings(configuration, onu);
    details["vendor_oui"] = hexText(onu.vendorOui);
    details["product_code"] = hexText(onu.productCode);
    details["product_version"] = hexText(onu.productVersion);
    details["llid"] = onu.llid;
    details["rtt"] = onu.roundTripTime;
    details["fade_db"] = onu.fadeDecibels;
    details["optics"] = opticsOf(onu);
    return details;
}

OnuCounts countOnus(const Card& card) {
    OnuCounts counts;
    for (const auto& onu : card.onus) {
        ++counts.total;
        counts.discovered += onu.discovered ? 1 : 0;
        counts.provisioned += isProvisioned(card.configuration, onu) ? 1 : 0;
    }
    return counts;
}

}  // namespace ponmgr::sim
