#pragma once

#include <cstddef>
#include <cstdint>

#include "tk/ByteBuffer.h"
#include "tk/TKIDMessage.h"

namespace ponmgr {

/// One TK message, which is one UDP datagram: a header of big-endian 16-bit fields and the data.
///
///   request    id, ctag, length                        6 bytes of header
///   response   id, ctag, length, result                8
///   OLT Ready  id, ctag, length                        6
///   event      id, ctag, length, result, sequence     10
///
/// In a request the length field counts the data. In a frame from a card it counts everything that
/// follows it, and the amount of data is what the datagram holds, whatever the field says.
/// Used by one thread at a time.
class TKMessage {
public:
    /// A request; `length` bytes of `data` are copied in when there are any. Throws "Not enough
    /// memory to allocate a new TKMessage with size..." and "Impossible to set data greater than
    /// size created".
    TKMessage(TKIDMessage id, std::uint16_t ctag, const unsigned char* data, std::uint16_t length);

    /// A received datagram, copied. Throws "Impossible to create TKMessage with small size" below
    /// 8 bytes.
    TKMessage(const unsigned char* datagram, std::uint16_t size);

    TKMessage(const TKMessage&) = delete;
    TKMessage& operator=(const TKMessage&) = delete;
    virtual ~TKMessage();

    /// Replaces the frame by one of `newSize` zero bytes. Throws "Not enough memory..." and leaves
    /// the message without a frame then.
    void newData(std::uint16_t newSize);
    /// Copies `length` bytes in behind the header. Throws "Impossible to set data greater than size
    /// created" and copies nothing then.
    void setData(const unsigned char* data, std::uint16_t length);

    void setId(TKIDMessage id);
    std::uint16_t getId() const;
    void setCtag(std::uint16_t ctag);
    std::uint16_t getCtag() const;
    void setLength(std::uint16_t length);
    std::uint16_t getLength() const;
    void setResult(std::uint16_t result);
    /// 0 when the header has no result.
    std::uint16_t getResult() const;
    /// 0 when the header has no sequence, or the frame ends before it.
    std::uint16_t getSequence() const;

    const unsigned char* getData() const;
    /// Size less header length in 16 bits: an event of 8 bytes, shorter than its own header, has
    /// 65534. getAvailableLength() is what may be read.
    std::uint16_t getDataLength() const;
    /// The data bytes that are really there.
    std::uint16_t getAvailableLength() const;

    /// The whole frame, as it goes on the wire.
    const unsigned char* getMessage() const { return frame.get(); }
    std::uint16_t getSize() const { return size; }

    bool isReceived() const { return received; }
    bool getHasSequence() const { return hasSequence; }

    /// Prints nothing.
    void debug() const {}

private:
    void write(std::size_t offset, std::uint16_t value);
    std::uint16_t read(std::size_t offset) const;

    std::uint8_t headerLength;
    ByteBuffer frame;
    std::uint16_t size = 0;
    bool received = false;
    bool hasSequence = false;
};

}  // namespace ponmgr
