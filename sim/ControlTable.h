#pragma once

#include <string>

#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The reply to "list" as a table with a heading, one row a card. All of these throw a JSON
/// exception for a reply of another shape.
std::string printCards(const Json& reply);

/// The reply to "onus", one row an ONU.
std::string printOnus(const Json& reply);

/// The reply to "truth": a table of the cards and one of the ONUs.
std::string printTruth(const Json& reply);

/// The reply to "fault list", one row a fault.
std::string printFaults(const Json& reply);

/// The reply to "get" or "onu", one line a member.
std::string printDetails(const Json& reply);

}  // namespace ponmgr::sim
