#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ponmgr::bench {

/// What came of a load, times in nanoseconds from the moment a request left to that its answer was
/// here.
struct LoadResult {
    unsigned sent = 0;
    std::vector<std::int64_t> answered;  // ascending
};

/// Asks eight cards in turn, `rate` requests a second, for `seconds`, whether answers come or not;
/// then waits a second for those on their way. Throws std::system_error.
LoadResult runLoad(const std::string& source, const std::string& base, unsigned rate,
                   unsigned seconds);

}  // namespace ponmgr::bench
