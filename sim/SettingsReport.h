#pragma once

#include "sim/CardConfiguration.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// What was set on the card as a whole and nothing else shows, by name: a list of values each. What
/// the card passes on to its chips without a meaning of its own is hex, as it came.
Json cardSettings(const CardConfiguration& configuration);

/// What was set for an ONU's link and for the ONU, by name: hex, as it came behind what names the
/// link; null when it wasn't set.
Json onuSettings(const CardConfiguration& configuration, const Onu& onu);

}  // namespace ponmgr::sim
