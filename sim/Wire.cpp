#include "sim/Wire.h"

#include <algorithm>

#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kLengthOffset = 4;
constexpr std::size_t kResultOffset = 6;

}  // namespace

void Writer::number(std::uint64_t value, unsigned width) {
    for (unsigned left = width; left > 0; --left) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * (left - 1))));
    }
}

void Writer::copy(std::span<const std::uint8_t> source) {
    bytes.insert(bytes.end(), source.begin(), source.end());
}

void Writer::text(std::string_view text, std::size_t width) {
    const auto shown = text.substr(0, width);
    bytes.insert(bytes.end(), shown.begin(), shown.end());
    zeros(width - shown.size());
}

void Writer::zeros(std::size_t count) {
    bytes.resize(bytes.size() + count);
}

void Writer::patchU16(std::size_t offset, std::uint16_t value) {
    bytes.at(offset) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(offset + 1) = static_cast<std::uint8_t>(value);
}

void Writer::truncate(std::size_t size) {
    bytes.resize(std::min(size, bytes.size()));
}

std::uint64_t Reader::number(std::size_t width) {
    std::uint64_t value = 0;
    for (const auto byte : take(width)) {
        value = value << 8 | byte;
    }
    return value;
}

std::span<const std::uint8_t> Reader::take(std::size_t width) {
    if (pastTheEnd || width > rest.size()) {
        pastTheEnd = true;
        return {};
    }
    const auto taken = rest.first(width);
    rest = rest.subspan(width);
    return taken;
}

std::optional<RequestFrame> readRequest(std::span<const std::uint8_t> datagram) {
    if (datagram.size() < kRequestHeaderSize) {
        return std::nullopt;
    }
    Reader reader(datagram);
    RequestFrame frame;
    frame.id = reader.u16();
    frame.ctag = reader.u16();
    frame.length = reader.u16();
    frame.payload = datagram.subspan(kRequestHeaderSize);
    return frame;
}

void beginAnswer(Writer& frame, std::uint16_t id, std::uint16_t ctag) {
    frame.clear();
    frame.u16(id);
    frame.u16(ctag);
    frame.zeros(kAnswerHeaderSize - kLengthOffset);
}

void finishAnswer(Writer& frame, Result result) {
    if (result != Result::ok) {
        frame.truncate(kAnswerHeaderSize);
    }
    frame.patchU16(kLengthOffset, static_cast<std::uint16_t>(frame.size() - kResultOffset));
    frame.patchU16(kResultOffset, static_cast<std::uint16_t>(result));
}

void beginOltReady(Writer& frame) {
    frame.clear();
    frame.u16(id::kOltReady);
    frame.zeros(kRequestHeaderSize - 2);
}

void finishOltReady(Writer& frame) {
    frame.patchU16(kLengthOffset, static_cast<std::uint16_t>(frame.size() - kRequestHeaderSize));
}

void beginEvent(Writer& frame, std::uint16_t id, std::uint16_t sequence) {
    frame.clear();
    frame.u16(id);
    frame.zeros(kAnswerHeaderSize - 2);
    frame.u16(sequence);
}

void finishEvent(Writer& frame) {
    frame.patchU16(kLengthOffset, static_cast<std::uint16_t>(frame.size() - kResultOffset));
}

}  // namespace ponmgr::sim
