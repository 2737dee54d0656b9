#pragma once

#include "sim/CardRequests.h"

/// The handlers that the table in CardRequests.cpp names, one source file a topic.
namespace ponmgr::sim {

/// Nothing to do beyond keeping the payload.
Result accept(Exchange& exchange);

// IdentityRequests.cpp: the card itself
Result resetOlt(Exchange& exchange);
Result getOltInformation(Exchange& exchange);
Result enableOlt(Exchange& exchange);
Result disableOlt(Exchange& exchange);
Result getNvsEnabled(Exchange& exchange);
Result setNvsEnabled(Exchange& exchange);
Result getExtensionSets(Exchange& exchange);
Result setExtensionSets(Exchange& exchange);
Result getStatistics(Exchange& exchange);

// ConfigurationRequests.cpp: bridging, paths and domains
Result setBridging(Exchange& exchange);
Result setPath(Exchange& exchange);
Result getAllPaths(Exchange& exchange);
Result deleteQueueSla(Exchange& exchange);
Result setDomain(Exchange& exchange);
Result getAllDomains(Exchange& exchange);

// LinkRequests.cpp: ONU links, as the card sees them
Result listDiscoveredLinks(Exchange& exchange);
Result listKnownLinks(Exchange& exchange);
Result setOnLink(Exchange& exchange);
Result setQueueSla(Exchange& exchange);
Result clearLink(Exchange& exchange);
Result clearAllowedLinks(Exchange& exchange);
Result getBridgingMode(Exchange& exchange);

// OnuRequests.cpp: the ONUs themselves; they must be on-line
Result getOnuInformation(Exchange& exchange);
Result getDiagnosis(Exchange& exchange);
Result resetOnu(Exchange& exchange);
Result setOnOnu(Exchange& exchange);
Result setOnuPortVlan(Exchange& exchange);

// RuleRequests.cpp: classification rules
Result getRules(Exchange& exchange);
Result addRules(Exchange& exchange);
Result deleteRules(Exchange& exchange);

}  // namespace ponmgr::sim
