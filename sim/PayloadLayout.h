#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "sim/Addresses.h"

namespace ponmgr::sim {

/// What one field of a request's payload must look like.
struct Field {
    enum class Kind : std::uint8_t {
        any,       ///< `width` bytes of any value
        boolean,   ///< one byte, 0 or 1
        constant,  ///< one byte of exactly `value`
        oltMac,    ///< the card's own MAC
        ponPort,   ///< two bytes, 0 or 1
        rest       ///< whatever is left; its handler checks it
    };
    Kind kind = Kind::any;
    std::uint8_t width = 0;
    std::uint8_t value = 0;
    /// The field tells apart what the request sets: one port's value, one link's, one path's.
    bool isKey = false;
};

using PayloadLayout = std::span<const Field>;

constexpr Field bytes(std::uint8_t width) {
    return {Field::Kind::any, width, 0, false};
}
constexpr Field key(std::uint8_t width) {
    return {Field::Kind::any, width, 0, true};
}
constexpr Field constant(std::uint8_t value) {
    return {Field::Kind::constant, 1, value, false};
}
inline constexpr Field kBoolean{Field::Kind::boolean, 1, 0, false};
inline constexpr Field kOltMac{Field::Kind::oltMac, 6, 0, false};
inline constexpr Field kPonPort{Field::Kind::ponPort, 2, 0, true};
inline constexpr Field kLinkMac = key(6);
inline constexpr Field kRest{Field::Kind::rest, 0, 0, false};

/// Holds `payload` against the layout. When it fits: the value of its key fields, put together most
/// significant byte first (at most 48 bits, 0 without key fields). Nothing when a field is missing,
/// out of its range or followed by bytes that belong to no field.
std::optional<std::uint64_t> matchLayout(PayloadLayout layout,
                                         std::span<const std::uint8_t> payload,
                                         const MacAddress& cardMac);

}  // namespace ponmgr::sim
