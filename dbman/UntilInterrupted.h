#pragma once

#include <functional>

#include "dbman/Surroundings.h"

namespace ponmgr::dbman {

/// Runs `body`, which goes on until Ctrl-C or SIGTERM, with surroundings that tell it of these: the
/// console's own, or ones made for it. Being cancelled in the midst of a question is its end too.
void runUntilInterrupted(const Surroundings& surroundings,
                         const std::function<void(const Surroundings&)>& body);

}  // namespace ponmgr::dbman
