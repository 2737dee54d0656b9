#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace ponmgr::test {

using Bytes = std::vector<std::uint8_t>;

/// Whether a case that fails is made smaller before it is shown. Off for cases that take long.
enum class Shrinking : bool { off, on };

/// Runs `property` in so many random cases, and fails the running test by the smallest case that
/// breaks it: with all that was drawn for it, by name, and with the seed. A property draws by the
/// functions below and ends a case by require(), or by throwing.
void inRandomCases(int cases, const std::function<void()>& property,
                   Shrinking shrinking = Shrinking::on);

/// From `low` to `high`, both included and both more often than others.
std::uint64_t anyNumber(const char* name, std::uint64_t low, std::uint64_t high);

/// Any value of an unsigned type of at most 32 bits, or of bool.
template <typename T>
T any(const char* name) {
    static_assert(std::numeric_limits<T>::max() <= UINT32_MAX);
    return static_cast<T>(anyNumber(name, 0, std::numeric_limits<T>::max()));
}

Bytes anyBytes(const char* name, std::size_t count);

template <std::size_t count>
void anyBytes(const char* name, std::array<std::uint8_t, count>& bytes) {
    const Bytes drawn = anyBytes(name, count);
    for (std::size_t i = 0; i < count; i++) {
        bytes[i] = drawn[i];
    }
}

/// UTF-8 with everything that JSON treats in its own way: control characters, quotes, backslashes,
/// characters of two to four bytes; no zero. Mostly short, at times some hundred characters.
std::string anyText(const char* name);

/// Ends the case as a failure unless the condition holds.
void require(bool holds, const std::string& otherwise);
void requireEqual(const std::string& actual, const std::string& expected, const std::string& what);
void requireEqual(std::uint64_t actual, std::uint64_t expected, const std::string& what);

}  // namespace ponmgr::test
