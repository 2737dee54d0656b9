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

std::string toHex(std::span<const unsigned char> bytes, const char* separator) {
    std::string text;
    for (const unsigned char byte : bytes) {
        if (!text.empty()) {
            text += separator;
        }
        appendHex(text, byte);
    }
    return text;
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
    return toHex(take(offset, message, kMacLength), ":");
}

std::string RMParser::parseHex(std::uint16_t* offset, const TKMessage* message,
                               std::uint16_t length) {
    return toHex(take(offset, message, length), "");
}

}  // namespace ponmgr
