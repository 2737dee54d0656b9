#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "sim/Chassis.h"

namespace ponmgr::sim {

/// How a program ends, to its caller.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

/// A scenario to be played; none without a file.
struct ScenarioOptions {
    std::string file;
    /// So many times as fast as the file says.
    double speed = 1;
    /// The simulator ends when the scenario has.
    bool exit = false;
};

struct ServeOptions {
    ChassisSettings chassis;
    std::string controlPath;
    bool verbose = false;

    /// How many datagrams the journal keeps, and the files that they go to; none when empty.
    std::size_t journalEntries = 10'000;
    std::string journalFile;
    std::string pcapFile;
    ScenarioOptions scenario;
};

struct ControlOptions {
    /// What is to be done: "card", "3", "reset".
    std::vector<std::string> words;
    std::string controlPath;
    Duration timeout{};
    bool json = false;

    /// The options of single commands, by their names without dashes; a flag's text is "on".
    std::map<std::string, std::string> named{};
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
