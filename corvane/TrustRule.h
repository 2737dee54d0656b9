#pragma once

#include <sys/types.h>

namespace corvane {

/// Whether a process that runs as user `own` trusts one of user `other`, to take messages from it
/// and to send it some: its own user and root.
constexpr bool isTrusted(uid_t other, uid_t own) noexcept {
    constexpr uid_t kRoot = 0;
    return other == own || other == kRoot;
}

}  // namespace corvane
