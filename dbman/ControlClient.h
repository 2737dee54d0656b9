#pragma once

#include <string>

namespace ponmgr::dbman {

class Interruption;

/// How long an answer of dbman is waited for.
constexpr int kAnswerSeconds = 30;

/// Sends one line to the dbman that listens at `path` and returns the line that it answers. Waits
/// up to kAnswerSeconds for it. Throws NotRunning when nobody listens there, Cancelled when Ctrl-C
/// or SIGTERM arrives at `interruption`, which may be nullptr, and Failure for everything else.
std::string askDbman(const std::string& path, const std::string& line,
                     Interruption* interruption = nullptr);

}  // namespace ponmgr::dbman
