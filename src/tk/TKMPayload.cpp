#include "tk/TKMPayload.h"

#include <algorithm>
#include <cstdlib>

#include "tk/HexText.h"

namespace ponmgr {

TKMPayload::~TKMPayload() = default;

TKMPayload& TKMPayload::addU8Number(std::uint8_t value) {
    appendHex(hexText, value);
    return *this;
}

TKMPayload& TKMPayload::addU16Number(std::uint16_t value) {
    return addU8Number(static_cast<std::uint8_t>(value >> 8))
        .addU8Number(static_cast<std::uint8_t>(value & 0xFF));
}

TKMPayload& TKMPayload::addU32Number(std::uint32_t value) {
    return addU16Number(static_cast<std::uint16_t>(value >> 16))
        .addU16Number(static_cast<std::uint16_t>(value & 0xFFFF));
}

TKMPayload& TKMPayload::addBool(bool value) {
    return addU8Number(value ? 1 : 0);
}

TKMPayload& TKMPayload::addHex(const std::string& digits) {
    hexText += digits;
    return *this;
}

void TKMPayload::buildPayload() {
    clearPayload();
    // As many bytes as there are digits: twice what is needed, and never fewer than are written.
    payload = allocateBytes(hexText.size());
    if (!payload) {
        return;
    }
    size = static_cast<std::uint16_t>(hexText.size() / 2);
    for (std::size_t i = 0; i < size; i++) {
        const char pair[] = {hexText[2 * i], hexText[2 * i + 1], '\0'};
        payload[i] = static_cast<unsigned char>(std::strtoul(pair, nullptr, 16));
    }
}

void TKMPayload::clear() {
    hexText.clear();
    clearPayload();
}

void TKMPayload::clearPayload() {
    payload.reset();
    size = 0;
}

std::unique_ptr<TKMPayload> TKMPayload::clone() const {
    auto copy = std::make_unique<TKMPayload>();
    copy->hexText = hexText;
    copy->size = size;
    if (payload) {
        copy->payload = allocateBytes(size);
        if (copy->payload) {
            std::copy_n(payload.get(), size, copy->payload.get());
        }
    }
    return copy;
}

}  // namespace ponmgr
