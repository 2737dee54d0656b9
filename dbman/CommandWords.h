#pragma once

#include <string>
#include <vector>

#include "dbman/CommandTable.h"

namespace ponmgr::dbman {

/// What the first words of a command line ask for.
struct CommandWords {
    /// The command that they name, or nullptr.
    const Command* command = nullptr;
    /// Without a command: what is wrong with them, and which commands there are.
    std::string error;
};

/// Looks the first words of `arguments` up in the command table; options before them are skipped.
CommandWords findCommand(const std::vector<std::string>& arguments);

}  // namespace ponmgr::dbman
