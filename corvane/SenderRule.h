#pragma once

#include <sys/types.h>

namespace corvane {

/// Whether a receiver that runs as user `own` takes messages from a process of user `sender`: from
/// its own user and from root.
constexpr bool mayWrite(uid_t sender, uid_t own) noexcept {
    constexpr uid_t kRoot = 0;
    return sender == own || sender == kRoot;
}

}  // namespace corvane
