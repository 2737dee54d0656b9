#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>

namespace ponmgr::test {

/// What a link does when the program under test uses it. Every call is printed as a line that
/// begins with the link's number; every failure's error text is the name of the operation and
/// " failed".
struct LinkScript {
    bool createFails = false;
    bool attachFails = false;  // bind or connect

    /// What recv does, call by call: nothing is a failure. It blocks when all is done.
    std::deque<std::optional<std::string>> received;

    /// What send does, call by call. It succeeds when all is done.
    enum class Send { succeeds, fails, leavesNoMemory };
    std::deque<Send> sent;
};

/// An allocation this long fails once, on the thread of a send that leavesNoMemory.
inline constexpr std::size_t kFailingLength = 100'000;

/// The script of the link with that number, to be written before the link is used.
LinkScript& linkScript(int link);

}  // namespace ponmgr::test
