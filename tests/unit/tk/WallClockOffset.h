#pragma once

#include <chrono>

namespace ponmgr::test {

/// While it lives, the wall clock that the code under test reads is off by this much; the kernel's
/// is not. One at a time; set() by any thread.
class WallClockOffset {
public:
    explicit WallClockOffset(std::chrono::nanoseconds offset) { set(offset); }
    WallClockOffset(const WallClockOffset&) = delete;
    WallClockOffset& operator=(const WallClockOffset&) = delete;
    ~WallClockOffset() { set(std::chrono::nanoseconds(0)); }

    void set(std::chrono::nanoseconds offset);
};

}  // namespace ponmgr::test
