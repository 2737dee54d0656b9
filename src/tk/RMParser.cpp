#include "tk/RMParser.h"

#include <algorithm>
#include <span>

#include "app/Exception.h"
#include "tk/HexText.h"
#include "tk/TKMessage.h"

namespace ponmgr {

namespace {

constexpr std::uint16_t kMacLength = 6;

/// The next `length` data bytes; advances the cursor.
std::span<const unsigned char> take(std::uint16_t* offset, const TKMessage* message,
                                    std::uint16_t length) {
    const std::uint16_t start = RMParser::checkValidOffset(offset, message, length);
    if (offset != nullptr) {
        *offset = static_cast<std::uint16_t>(start + length);
    }
    return {message->getData() + start, length};
}

std::string takeNumber(std::uint16_t* offset, const TKMessage* message, std::uint16_t width) {
    std::uint64_t number = 0;
    for (const unsigned char byte : take(offset, message, width)) {
        number = (number << 8) | byte;
    }
    return std::to_string(number);
}

/// `digits` with each byte in the place of two digits, `step` characters from the one before.
std::string toHex(std::span<const unsigned char> bytes, std::string digits, std::size_t step) {
    for (std::size_t i = 0; i < bytes.size(); i++) {
        writeHex(&digits[step * i], bytes[i]);
    }
    return digits;
}

}  // namespace

std::uint16_t RMParser::checkValidOffset(const std::uint16_t* offset, const TKMessage* message,
                                         std::uint16_t length) {
    const std::uint16_t start = offset == nullptr ? std::uint16_t{0} : *offset;
    // getDataLength() wraps for an event that is shorter than its own header; what may be read is
    // bounded by the bytes that are there.
    const int readable = std::min(message->getDataLength(), message->getAvailableLength());
    if (int{start} + int{length} > readable) {
        PONMGR_THROW("Impossible to parse offset=" + std::to_string(start) +
                     ", length=" + std::to_string(length));
    }
    return start;
}

std::string RMParser::parseU8Number(std::uint16_t* offset, const TKMessage* message) {
    return takeNumber(offset, message, sizeof(std::uint8_t));
}

std::string RMParser::parseU16Number(std::uint16_t* offset, const TKMessage* message) {
    return takeNumber(offset, message, sizeof(std::uint16_t));
}

std::string RMParser::parseU64Number(std::uint16_t* offset, const TKMessage* message) {
    return takeNumber(offset, message, sizeof(std::uint64_t));
}

std::string RMParser::parseMacAddr(std::uint16_t* offset, const TKMessage* message) {
    return toHex(take(offset, message, kMacLength), "00:00:00:00:00:00", 3);
}

std::string RMParser::parseHex(std::uint16_t* offset, const TKMessage* message,
                               std::uint16_t length) {
    const auto bytes = take(offset, message, length);
    return toHex(bytes, std::string(2 * bytes.size(), '0'), 2);
}

}  // namespace ponmgr
