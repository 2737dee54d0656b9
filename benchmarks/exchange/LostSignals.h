#pragma once

#include <string>

namespace ponmgr::bench {

/// How many of `times` exchanges had their answer before the wait for it began, so that the card
/// was asked again, while `busyThreads` other threads do nothing but compute. The wait is cut to a
/// fraction of a second for it.
unsigned countLostSignals(const std::string& source, const std::string& card, unsigned times,
                          unsigned busyThreads);

}  // namespace ponmgr::bench
