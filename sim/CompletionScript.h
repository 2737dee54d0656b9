#pragma once

#include <string_view>

namespace ponmgr::sim {

/// The script that completes chassis-sim's words in bash; packaging/completion/chassis-sim.bash as
/// it was when the program was built.
std::string_view completionScript();

}  // namespace ponmgr::sim
