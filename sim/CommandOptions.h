#pragma once

#include <vector>

namespace ponmgr::sim {

/// An option of a control command, beyond those of all commands.
struct CommandOption {
    /// Without dashes.
    const char* name;
    /// What stands behind it; null for a flag.
    const char* value;
    const char* description;
};

/// Those of all commands together.
std::vector<CommandOption> commandOptions();

}  // namespace ponmgr::sim
