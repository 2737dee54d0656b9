#pragma once

#include <cerrno>

namespace corvane {

/// Makes a system call, again as often as a signal interrupts it; returns its result, with errno as
/// the call left it.
template <typename SystemCall>
auto retryInterrupted(SystemCall systemCall) {
    auto result = systemCall();
    while (result < 0 && errno == EINTR) {
        result = systemCall();
    }
    return result;
}

}  // namespace corvane
