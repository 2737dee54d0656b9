#include "support/Bytes.h"

#include <stdexcept>

namespace ponmgr::test {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

std::string digitsOf(std::string_view hex) {
    std::string digits;
    for (const char character : hex) {
        if (character == ' ' || character == '\n') {
            continue;
        }
        if (kDigits.find(character) == std::string_view::npos) {
            throw std::invalid_argument("not a lower-case hexadecimal digit: " + std::string(hex));
        }
        digits += character;
    }
    return digits;
}

}  // namespace

Bytes bytes(std::string_view hex) {
    const std::string digits = digitsOf(hex);
    if (digits.size() % 2 != 0) {
        throw std::invalid_argument("half a byte at the end: " + std::string(hex));
    }
    Bytes result;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::size_t value = kDigits.find(digits[i]) * 16 + kDigits.find(digits[i + 1]);
        result.push_back(static_cast<unsigned char>(value));
    }
    return result;
}

std::string hexText(std::span<const unsigned char> data) {
    std::string text;
    for (const unsigned char byte : data) {
        if (!text.empty()) {
            text += ' ';
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

std::string hexText(const TKMessage& message) {
    return hexText(std::span(message.getMessage(), message.getSize()));
}

std::unique_ptr<TKMessage> received(std::string_view hex) {
    const Bytes datagram = bytes(hex);
    return std::make_unique<TKMessage>(datagram.data(),
                                       static_cast<std::uint16_t>(datagram.size()));
}

}  // namespace ponmgr::test
