#pragma once

#include <cstdint>
#include <span>

#include "tk/TKMPayload.h"

namespace ponmgr {

/// One constant field of a request: its width in bytes (1 to 8) and its value.
struct PayloadField {
    std::uint8_t width;
    std::uint64_t value;
};

constexpr PayloadField u8Field(std::uint8_t value) {
    return {1, value};
}
constexpr PayloadField u16Field(std::uint16_t value) {
    return {2, value};
}
constexpr PayloadField u32Field(std::uint32_t value) {
    return {4, value};
}
constexpr PayloadField u64Field(std::uint64_t value) {
    return {8, value};
}
constexpr PayloadField boolField(bool value) {
    return {1, value ? 1U : 0U};
}

/// Appends the fields in order, each most significant byte first.
void addFields(TKMPayload& payload, std::span<const PayloadField> fields);

}  // namespace ponmgr
