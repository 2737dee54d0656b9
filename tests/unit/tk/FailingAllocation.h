#pragma once

namespace ponmgr::test {

/// Makes allocations of the calling thread fail while it lives: the next `count` of the kind behind
/// `spared` ones, or all of them when `count` is not given. One at a time.
class FailingAllocation {
public:
    enum class Kind { NoThrow, Throwing };
    static constexpr int kAll = -1;

    explicit FailingAllocation(Kind kind, int count = kAll, int spared = 0);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether one has failed.
    bool hasFailed() const;
};

}  // namespace ponmgr::test
