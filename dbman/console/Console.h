#pragma once

#include "dbman/Surroundings.h"

namespace ponmgr::dbman {

/// Reads commands from the terminal and runs each, until "quit" or Ctrl-D. Throws Failure when the
/// terminal can't be used.
void runConsole(const Surroundings& surroundings);

}  // namespace ponmgr::dbman
