#pragma once

#include "sim/Options.h"

namespace ponmgr::sim {

/// Carries out `chassis-sim ctl ...` and says what to print and how to exit: 0 done, 1 refused by
/// the simulator or no simulator there, 2 not a command. Blocks until the simulator replies.
Finished runControlCommand(const ControlOptions& options);

}  // namespace ponmgr::sim
