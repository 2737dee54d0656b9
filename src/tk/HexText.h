#pragma once

#include <string>

namespace ponmgr {

/// Writes a byte as two lower-case hexadecimal digits.
inline void writeHex(char* pair, unsigned char byte) {
    constexpr const char* kDigits = "0123456789abcdef";
    pair[0] = kDigits[byte >> 4];
    pair[1] = kDigits[byte & 0x0F];
}

/// Appends a byte as two lower-case hexadecimal digits.
inline void appendHex(std::string& text, unsigned char byte) {
    char pair[2];
    writeHex(pair, byte);
    text.append(pair, sizeof pair);
}

}  // namespace ponmgr
