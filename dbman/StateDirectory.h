#pragma once

#include <string>

namespace ponmgr::dbman {

/// Where dbman keeps what is its user's: $XDG_STATE_HOME/ponmgr, or the same below ~/.local/state.
/// Empty when neither variable is set. Doesn't make it. Nobody changes the environment meanwhile.
std::string stateDirectory();

}  // namespace ponmgr::dbman
