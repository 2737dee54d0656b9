#pragma once

#include <cstdint>
#include <span>

namespace ponmgr {

class Container;
class TKMessage;

/// How a field of a layout is read; see RMParser.
enum class FieldReader : std::uint8_t { U8, U16, U64, Mac, Hex, Skip };

/// One field of a response's data: how it is read, how many bytes it has, and the key that its
/// value is stored under.
struct ResponseField {
    FieldReader reader;
    std::uint16_t width;
    const char* key;
};

constexpr ResponseField u8(const char* key) {
    return {FieldReader::U8, 1, key};
}
constexpr ResponseField u16(const char* key) {
    return {FieldReader::U16, 2, key};
}
constexpr ResponseField u64(const char* key) {
    return {FieldReader::U64, 8, key};
}
constexpr ResponseField mac(const char* key) {
    return {FieldReader::Mac, 6, key};
}
constexpr ResponseField hex(std::uint16_t width, const char* key) {
    return {FieldReader::Hex, width, key};
}
/// Bytes that are never read, so that they may be missing at the end.
constexpr ResponseField skip(std::uint16_t width) {
    return {FieldReader::Skip, width, nullptr};
}

/// Reads a layout's fields one after the other from the cursor on, which it advances, and stores
/// each in `record`. Throws the readers' offset error.
void readFields(std::span<const ResponseField> layout, std::uint16_t* offset,
                const TKMessage* message, Container& record);

/// Reads `count` records of the layout and appends each to the list `name` of `record`; without any
/// there is no list.
void readList(std::span<const ResponseField> layout, unsigned count, const char* name,
              std::uint16_t* offset, const TKMessage* message, Container& record);

}  // namespace ponmgr
