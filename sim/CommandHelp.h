#pragma once

#include <span>
#include <string>

namespace ponmgr::sim {

/// One command of `chassis-sim ctl` as a person needs it.
struct CommandHelp {
    /// Its first word.
    const char* name;
    /// What stands behind "chassis-sim ctl".
    const char* synopsis;
    const char* purpose;
    /// What stands behind "chassis-sim ctl", as it could be typed.
    const char* example;
};

std::span<const CommandHelp> commandHelp();

/// "list | card | ...": the first words, each once.
std::string commandNames();

/// What --help of `chassis-sim ctl` ends with, and that of chassis-sim.
std::string controlHelp();
std::string programHelp();

}  // namespace ponmgr::sim
