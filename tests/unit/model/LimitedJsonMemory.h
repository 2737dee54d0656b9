#pragma once

#include <cstddef>

namespace ponmgr::test {

/// While it lives, cJSON gets memory `allowed` times and none after that. One at a time, and only
/// while no other thread uses cJSON.
class LimitedJsonMemory {
public:
    explicit LimitedJsonMemory(std::size_t allowed);
    LimitedJsonMemory(const LimitedJsonMemory&) = delete;
    LimitedJsonMemory& operator=(const LimitedJsonMemory&) = delete;
    ~LimitedJsonMemory();

    /// Whether a request for memory has been refused.
    bool hasRefused() const;
};

}  // namespace ponmgr::test
