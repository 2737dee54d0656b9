#pragma once

#include "sim/ChassisWire.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The control request about faults; returns its reply and throws ControlError or UsageError when
/// it can't be carried out.
Json actOnFaults(ChassisWire& wire, const Json& request);

}  // namespace ponmgr::sim
