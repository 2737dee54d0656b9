#pragma once

#include <string>

namespace ponmgr::dbman {

/// Sends one line to the dbman that listens at `path` and returns the line that it answers. Waits
/// up to 30 seconds. Throws NotRunning when nobody listens there, Failure for everything else.
std::string askDbman(const std::string& path, const std::string& line);

}  // namespace ponmgr::dbman
