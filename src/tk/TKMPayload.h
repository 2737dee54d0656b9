#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tk/ByteBuffer.h"

namespace ponmgr {

/// Builds the data of a request field by field, most significant byte first, as hexadecimal text
/// that buildPayload() turns into bytes. Fields can be chained. Belongs to the operation that
/// builds it.
class TKMPayload {
public:
    TKMPayload() = default;
    TKMPayload(const TKMPayload&) = delete;
    TKMPayload& operator=(const TKMPayload&) = delete;
    virtual ~TKMPayload();

    TKMPayload& addU8Number(std::uint8_t value);
    TKMPayload& addU16Number(std::uint16_t value);
    TKMPayload& addU32Number(std::uint32_t value);
    /// One byte, 1 or 0.
    TKMPayload& addBool(bool value);
    /// Digit pairs, one a byte, taken as they are and unchecked: a pair becomes what strtoul makes
    /// of it (0 for "zz", 1 for "1z"), and an odd number of digits shifts everything that follows
    /// by half a byte.
    TKMPayload& addHex(const std::string& digits);

    /// Turns the text into bytes; every catalogue entry calls it. An odd last digit is dropped. A
    /// failed allocation leaves no bytes and says nothing: the request then goes out empty.
    void buildPayload();
    /// The bytes last built, or null; they stay the builder's.
    const unsigned char* getPayload() const { return payload.get(); }
    /// How many bytes were last built.
    std::uint16_t getSize() const { return size; }

    /// The fields as lower-case hexadecimal digits.
    std::string toString() const { return hexText; }

    /// Empties the text and the bytes.
    void clear();
    /// Empties the bytes and keeps the text.
    void clearPayload();

    /// A copy with bytes of its own.
    std::unique_ptr<TKMPayload> clone() const;

private:
    std::string hexText;
    ByteBuffer payload;
    std::uint16_t size = 0;
};

}  // namespace ponmgr
