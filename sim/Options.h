#pragma once

#include <string>
#include <variant>
#include <vector>

#include "sim/Chassis.h"

namespace ponmgr::sim {

/// How a program ends, to its caller.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

struct ServeOptions {
    ChassisSettings chassis;
    std::string controlPath;
    bool verbose = false;
};

struct ControlOptions {
    /// What is to be done: "card", "3", "reset".
    std::vector<std::string> words;
    std::string controlPath;
    Duration timeout{};
    bool json = false;
};

/// The command line is dealt with already: help, version, or a mistake in it.
struct Finished {
    int status = kExitOk;
    std::string output;
    std::string errorOutput;
};

using CommandLine = std::variant<ServeOptions, ControlOptions, Finished>;

/// `arguments` without the program's name. Throws nothing but for lack of memory.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// How a failure is shown: one line for people, or a JSON object on the standard output.
Finished failure(int status, const std::string& text, bool json);

}  // namespace ponmgr::sim
