#pragma once

#include <vector>

#include "dbman/Json.h"
#include "dbman/Records.h"

namespace ponmgr::dbman {

/// The daemon's keys, and "ip_address", "source_address", "state", "last_report" of our own. All
/// values are text, every key is always there; what isn't known is the empty text.
OrderedJson toJson(const Card& card);

/// The whole record, and "state" and "last_report" of our own.
OrderedJson toJson(const Onu& onu);

/// {"cards":[...]}
OrderedJson toJson(const std::vector<Card>& cards);

/// {"onus":[...]}
OrderedJson toJson(const std::vector<Onu>& onus);

}  // namespace ponmgr::dbman
