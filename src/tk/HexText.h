#pragma once

#include <string>

namespace ponmgr {

/// Appends a byte as two lower-case hexadecimal digits.
inline void appendHex(std::string& text, unsigned char byte) {
    constexpr const char* kDigits = "0123456789abcdef";
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
}

}  // namespace ponmgr
