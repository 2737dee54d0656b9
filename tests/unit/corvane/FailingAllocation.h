#pragma once

#include <cstddef>

namespace ponmgr::test {

/// While it lives, one allocation of the thread that made it fails: the next of at least `size`
/// bytes after `spared` such ones, or, with `andAllLater`, that one and all that follow.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t spared, std::size_t size = 0, bool andAllLater = false);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether an allocation has failed yet.
    bool hasFailed() const;
};

}  // namespace ponmgr::test
