#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "dbman/Surroundings.h"

namespace ponmgr::dbman {

/// How dbman ends.
enum class ExitCode {
    done = 0,
    /// What was asked for was refused or failed.
    failed = 1,
    /// The command line isn't right; nothing was done.
    usage = 2,
    /// No dbman runs that could do it.
    notRunning = 3
};

/// Runs dbman with the `arguments` behind the program's name. Results go to `out`, errors to `err`;
/// with --json errors too go to `out`, as {"error":"..."}. Without a command it is the console,
/// where there is a terminal to read from and to write to. Throws nothing but std::bad_alloc.
ExitCode runDbman(const std::vector<std::string>& arguments, const Surroundings& surroundings);

/// The same without a terminal.
ExitCode runDbman(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace ponmgr::dbman
