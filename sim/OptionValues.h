#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// A value on the command line that can't be used; the text names it and says what is allowed.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The whole of `text` as a number in `base`; nothing when any of it is something else.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base = 10) {
    Number value{};
    const auto* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

/// The whole of `text` as a number from `least` to `most`; nothing when it is something else.
std::optional<double> fractionBetween(std::string_view text, double least, double most,
                                      std::chars_format format = std::chars_format::fixed);

inline constexpr int kFirstSlot = 1;
inline constexpr int kLastSlot = 8;

/// "1-3,7" -> 1, 2, 3, 7: ascending, each once. All of these throw UsageError; `option` is the
/// option's name for its text.
std::vector<int> parseSlots(const std::string& option, const std::string& text);

/// 1 to 8.
int parseSlot(const std::string& option, const std::string& text);

/// "250us", "2ms", "3s", or 0; at most `longest`.
Duration parseDuration(const std::string& option, const std::string& text, Duration longest);

/// Dotted quad to host order; the addresses of all slots above it must exist.
std::uint32_t parseBaseAddress(const std::string& option, const std::string& text);

/// 0 to `most`.
std::uint32_t parseCount(const std::string& option, const std::string& text, std::uint32_t most);

/// 1 to 65535.
std::uint16_t parsePort(const std::string& option, const std::string& text);

bool parseOnOff(const std::string& option, const std::string& text);

/// Four hex digits.
std::array<std::uint8_t, 2> parseProductCode(const std::string& option, const std::string& text);

/// 0.01 to 1000 times, with a fraction after a point if need be.
double parseSpeed(const std::string& option, const std::string& text);

/// 0 to 60 decibels, with a fraction after a point if need be.
double parseDecibels(const std::string& option, const std::string& text);

/// Pairs of hex digits, as many as one datagram holds at most.
std::vector<std::uint8_t> parseBytes(const std::string& option, const std::string& text);

/// A path that the address of a local socket can hold.
std::string parseSocketPath(const std::string& option, const std::string& text);

}  // namespace ponmgr::sim
