#pragma once

#include <string>

namespace ponmgr::dbman {

/// The script with which bash completes dbman's command line, made from the table of the commands.
/// MAC addresses are asked from the running dbman; without one there are none.
std::string bashCompletion();

}  // namespace ponmgr::dbman
