#pragma once

#include "sim/Chassis.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The control requests about ONUs, fibres and events; each returns its reply and throws
/// ControlError or UsageError when it can't be carried out.
Json listOnus(Chassis& chassis, const Json& request);
Json actOnOnu(Chassis& chassis, const Json& request);
Json setFibre(Chassis& chassis, const Json& request);
Json reportAlarm(Chassis& chassis, const Json& request);
Json emitEvent(Chassis& chassis, const Json& request);

}  // namespace ponmgr::sim
