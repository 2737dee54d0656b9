#pragma once

#include <string_view>
#include <vector>

#include "sim/CardConfiguration.h"
#include "sim/Onu.h"

namespace ponmgr::sim {

/// What a card keeps for an ONU's link: enabling, the SLAs of link and queues, Ethernet port, VLAN.

/// What the SLA of the queue with this endpoint is kept by.
std::uint64_t queueKey(std::uint16_t endpoint);

/// The link is enabled or has an SLA: the card remembers it, also while the ONU is away.
bool isKnown(const CardConfiguration& configuration, const Onu& onu);

/// The link is enabled, and it and its three queues have their SLAs.
bool isProvisioned(const CardConfiguration& configuration, const Onu& onu);

/// What keeps the link from being provisioned, one English phrase each.
std::vector<std::string_view> missingProvisioning(const CardConfiguration& configuration,
                                                  const Onu& onu);

/// Does all that the manager does for a new link.
void provision(CardConfiguration& configuration, const Onu& onu);

/// What an ONU that starts anew has forgotten: its Ethernet port is down until it is set again.
void forgetAtRestart(CardConfiguration& configuration, const Onu& onu);

/// Forgets all that was set for the link.
void clearProvisioning(CardConfiguration& configuration, const Onu& onu);

bool isEnabled(const CardConfiguration& configuration, const Onu& onu);
bool hasLinkSla(const CardConfiguration& configuration, const Onu& onu);
bool hasQueueSla(const CardConfiguration& configuration, std::uint16_t endpoint);
bool isEthernetUp(const CardConfiguration& configuration, const Onu& onu);
/// 0 without a VLAN.
std::uint16_t portVlan(const CardConfiguration& configuration, const Onu& onu);

}  // namespace ponmgr::sim
