#pragma once

#include <cstddef>

namespace ponmgr::bench {

/// Of this process, shared libraries included. Throws std::runtime_error when the system doesn't
/// tell.
std::size_t residentBytes();

}  // namespace ponmgr::bench
