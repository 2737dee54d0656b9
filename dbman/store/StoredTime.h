#pragma once

#include <algorithm>
#include <cstdint>

#include "dbman/Records.h"

namespace ponmgr::dbman {

// Times in the database are milliseconds since 1970 in UTC.

inline std::int64_t toStored(Time time) {
    return std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

inline std::optional<std::int64_t> toStored(const std::optional<Time>& time) {
    return time ? std::optional(toStored(*time)) : std::nullopt;
}

/// A number that no clock of ours could have written becomes the nearest that one could.
inline Time fromStored(std::int64_t milliseconds) {
    constexpr std::int64_t kLast = 9'000'000'000'000;
    return Time(std::chrono::milliseconds(std::clamp<std::int64_t>(milliseconds, 0, kLast)));
}

}  // namespace ponmgr::dbman
