#pragma once

#include <string>
#include <vector>

namespace ponmgr::bench {

using Datagram = std::vector<unsigned char>;

/// The bytes of hexadecimal digits; blanks between them mean nothing.
inline Datagram datagramFrom(const std::string& text) {
    Datagram bytes;
    std::string pair;
    for (const char character : text) {
        if (character != ' ') {
            pair += character;
        }
        if (pair.size() == 2) {
            bytes.push_back(static_cast<unsigned char>(std::stoi(pair, nullptr, 16)));
            pair.clear();
        }
    }
    return bytes;
}

}  // namespace ponmgr::bench
