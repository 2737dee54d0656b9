#pragma once

#include <cstddef>
#include <string>

namespace ponmgr::bench {

/// What a process holds of its cards; memory is what is resident, shared libraries included.
struct HeldMemory {
    std::size_t rows = 0;
    std::size_t baseBytes = 0;  ///< Before the first row, when each card was asked once.
    std::size_t allBytes = 0;   ///< With all rows.
};

/// Holds the daemon's exchanges with the cards at `base` + 1 to `base` + 8, and the records of the
/// ONUs that they list, with every value that the daemon reads for one.
HeldMemory holdRecords(const std::string& source, const std::string& base);

}  // namespace ponmgr::bench
