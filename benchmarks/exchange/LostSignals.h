#pragma once

#include <string>

namespace ponmgr::bench {

/// Exchanges in which the card was asked again.
struct AskedAgain {
    unsigned lost = 0;     ///< The answer was there within the limit, but nobody waited yet.
    unsigned late = 0;     ///< The limit was over before the answer, or whoever waited for it, ran.
    unsigned givenUp = 0;  ///< Of both: the exchange failed, for it was so at each of its tries.
};

/// Of `times` exchanges, while `busyThreads` other threads do nothing but compute. The limit, which
/// is what one of these costs, is cut to a tenth of a second for it.
AskedAgain countAskedAgain(const std::string& source, const std::string& card, unsigned times,
                           unsigned busyThreads);

}  // namespace ponmgr::bench
