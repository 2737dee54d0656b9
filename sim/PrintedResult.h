#pragma once

#include <iosfwd>

#include "sim/Options.h"

namespace ponmgr::sim {

/// Prints what is to be printed and returns the status to exit with: kExitFailed, with the reason
/// on `errors`, when `output` didn't take all of it.
int printResult(const Finished& finished, std::ostream& output, std::ostream& errors);

/// The end of a command whose output can't be written any more, for the reason in errno.
Finished unwritableOutput();

}  // namespace ponmgr::sim
