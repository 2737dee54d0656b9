#include "tk/TKMessage.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "app/Exception.h"

namespace ponmgr {

namespace {

constexpr std::size_t kIdOffset = 0;
constexpr std::size_t kCtagOffset = 2;
constexpr std::size_t kLengthOffset = 4;
constexpr std::size_t kResultOffset = 6;
constexpr std::size_t kSequenceOffset = 8;

constexpr std::uint8_t kPlainHeader = 6;
constexpr std::uint8_t kResultHeader = 8;
constexpr std::uint8_t kSequenceHeader = 10;

constexpr std::uint16_t kSmallestDatagram = 8;
constexpr std::uint16_t kLongestData = UINT16_MAX - kPlainHeader;

constexpr const char* kDataTooLong = "Impossible to set data greater than size created";

std::uint8_t receivedHeaderLength(std::uint16_t id) {
    if (id == static_cast<std::uint16_t>(TKIDMessage::OLTReady)) {
        return kPlainHeader;
    }
    return id > kFirstEventId ? kSequenceHeader : kResultHeader;
}

}  // namespace

TKMessage::TKMessage(TKIDMessage id, std::uint16_t ctag, const unsigned char* data,
                     std::uint16_t length)
    : headerLength(kPlainHeader) {
    if (length > kLongestData) {
        PONMGR_THROW(kDataTooLong);
    }
    newData(static_cast<std::uint16_t>(length + kPlainHeader));
    setId(id);
    setCtag(ctag);
    setLength(length);
    if (data != nullptr && length != 0) {
        setData(data, length);
    }
}

TKMessage::TKMessage(const unsigned char* datagram, std::uint16_t datagramSize) : headerLength(0) {
    if (datagramSize < kSmallestDatagram) {
        PONMGR_THROW("Impossible to create TKMessage with small size");
    }
    newData(datagramSize);
    setData(datagram, datagramSize);
    headerLength = receivedHeaderLength(getId());
    hasSequence = headerLength == kSequenceHeader;
    received = true;
}

TKMessage::~TKMessage() = default;

void TKMessage::newData(std::uint16_t newSize) {
    frame = allocateBytes(newSize);
    if (!frame) {
        size = 0;
        PONMGR_THROW("Not enough memory to allocate a new TKMessage with size" +
                     std::to_string(newSize));
    }
    size = newSize;
}

void TKMessage::setData(const unsigned char* data, std::uint16_t length) {
    if (int{length} > int{size} - int{headerLength}) {
        PONMGR_THROW(kDataTooLong);
    }
    if (length != 0) {
        std::memcpy(frame.get() + headerLength, data, length);
    }
}

void TKMessage::setId(TKIDMessage id) {
    write(kIdOffset, static_cast<std::uint16_t>(id));
}
std::uint16_t TKMessage::getId() const {
    return read(kIdOffset);
}

void TKMessage::setCtag(std::uint16_t ctag) {
    write(kCtagOffset, ctag);
}
std::uint16_t TKMessage::getCtag() const {
    return read(kCtagOffset);
}

void TKMessage::setLength(std::uint16_t length) {
    write(kLengthOffset, length);
}
std::uint16_t TKMessage::getLength() const {
    return read(kLengthOffset);
}

void TKMessage::setResult(std::uint16_t result) {
    write(kResultOffset, result);
}

std::uint16_t TKMessage::getResult() const {
    return headerLength <= kPlainHeader ? std::uint16_t{0} : read(kResultOffset);
}

std::uint16_t TKMessage::getSequence() const {
    return headerLength <= kResultHeader ? std::uint16_t{0} : read(kSequenceOffset);
}

const unsigned char* TKMessage::getData() const {
    return frame.get() + std::min<std::uint16_t>(headerLength, size);
}

std::uint16_t TKMessage::getDataLength() const {
    return static_cast<std::uint16_t>(size - headerLength);
}

std::uint16_t TKMessage::getAvailableLength() const {
    return headerLength < size ? getDataLength() : std::uint16_t{0};
}

void TKMessage::write(std::size_t offset, std::uint16_t value) {
    if (offset + sizeof value > size) {
        return;  // a header field that this frame is too short for
    }
    frame[offset] = static_cast<unsigned char>(value >> 8);
    frame[offset + 1] = static_cast<unsigned char>(value & 0xFF);
}

std::uint16_t TKMessage::read(std::size_t offset) const {
    if (offset + sizeof(std::uint16_t) > size) {
        return 0;
    }
    return static_cast<std::uint16_t>((frame[offset] << 8) | frame[offset + 1]);
}

}  // namespace ponmgr
