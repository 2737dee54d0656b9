#pragma once

#include "sim/Chassis.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The control requests that put cards into their slots and take them out; each returns the card's
/// row and throws ControlError or UsageError when it can't be carried out.
Json pullCard(Chassis& chassis, const Json& request);
Json insertCard(Chassis& chassis, const Json& request);
Json swapCard(Chassis& chassis, const Json& request);

}  // namespace ponmgr::sim
