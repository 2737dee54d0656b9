#pragma once

#include <chrono>
#include <functional>

namespace ponmgr::test {

/// Asks `predicate` every millisecond until it is true or `limit` has passed; returns its last
/// answer. The limit is a safety net: a passing test never waits for it.
bool waitFor(const std::function<bool()>& predicate,
             std::chrono::milliseconds limit = std::chrono::seconds(10));

}  // namespace ponmgr::test
