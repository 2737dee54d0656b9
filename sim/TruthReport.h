#pragma once

#include "sim/Chassis.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The inventory that a database manager ought to show, {"cards":[...],"onus":[...]}: a row a card
/// that is plugged in or was, and a row an ONU, each with its MAC, its place and whether it is
/// on-line.
Json truth(Chassis& chassis, const Json& request);

}  // namespace ponmgr::sim
