#pragma once

#include <string>

#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The reply to "list" as a table with a heading, one row a card. Both throw a JSON exception for a
/// reply of another shape.
std::string printCards(const Json& reply);

/// The reply to "get", one line a member.
std::string printDetails(const Json& reply);

}  // namespace ponmgr::sim
