#pragma once

#include <string>

namespace ponmgr {

/// The shell command that prints 1 when a ping of `address` from `interface` lost everything within
/// a second, and 0 otherwise. Addresses with characters that have a meaning to the shell are
/// quoted.
std::string pingCommand(const std::string& interface, const std::string& address);

/// Runs a pingCommand and judges its output: off-line only when it begins with something else than
/// "0". A probe that can't be run at all says on-line, so that a machine in trouble doesn't take
/// working cards down. Blocks for about a second; for longer when the
/// address is a name that has to be looked up. Any thread.
bool isAnswering(const std::string& command);

}  // namespace ponmgr
