#pragma once

#include <string>

namespace ponmgr::dbman {

class Interruption;

/// Sends one line to the dbman that listens at `path` and returns the line that it answers. Waits
/// up to 30 seconds for it. Throws NotRunning when nobody listens there, Cancelled when Ctrl-C or
/// SIGTERM arrives at `interruption`, which may be nullptr, and Failure for everything else.
std::string askDbman(const std::string& path, const std::string& line,
                     Interruption* interruption = nullptr);

}  // namespace ponmgr::dbman
