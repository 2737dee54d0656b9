#pragma once

#include <cstddef>
#include <string>

namespace ponmgr::bench {

/// Holds the daemon's exchanges with the cards at `base` + 1 to `base` + 8, and the records of the
/// ONUs that they list; returns how many ONUs these are. `report` is called while all are held.
std::size_t holdRecords(const std::string& source, const std::string& base,
                        void (*report)(std::size_t onus));

}  // namespace ponmgr::bench
