#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace ponmgr::sim {

/// Result field of a card's answer.
enum class Result : std::uint16_t { ok = 0, unsupported = 1, parameterOutOfRange = 3 };

inline constexpr std::size_t kRequestHeaderSize = 6;
inline constexpr std::size_t kAnswerHeaderSize = 8;
/// Ids from here up are events; a card sends them and never takes them.
inline constexpr std::uint16_t kFirstEventId = 0x8000;

/// Appends integers, most significant byte first.
class Writer {
public:
    void u8(std::uint8_t value) { bytes.push_back(value); }
    void u16(std::uint16_t value) { number(value, 2); }
    void u32(std::uint32_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    void copy(std::span<const std::uint8_t> source);
    /// Exactly `width` bytes: `text` cut off or filled up with zeros.
    void text(std::string_view text, std::size_t width);
    void zeros(std::size_t count);

    /// Overwrites two bytes that are already written, at `offset`.
    void patchU16(std::size_t offset, std::uint16_t value);
    /// Shortens to `size` bytes; nothing when it is shorter already.
    void truncate(std::size_t size);
    void clear() { bytes.clear(); }

    std::size_t size() const { return bytes.size(); }
    /// Valid until the next write.
    std::span<const std::uint8_t> view() const { return bytes; }

private:
    void number(std::uint64_t value, unsigned width);

    std::vector<std::uint8_t> bytes;
};

/// Checked cursor over bytes that it doesn't own. A read past the end yields 0 or nothing and marks
/// the reader as failed for good; so a caller may read a whole record and ask once.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : rest(bytes) {}

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint64_t number(std::size_t width);
    /// A view of the next `width` bytes; empty when they aren't there.
    std::span<const std::uint8_t> take(std::size_t width);

    std::size_t left() const { return rest.size(); }
    bool failed() const { return pastTheEnd; }
    /// Everything was there and everything was read.
    bool complete() const { return !pastTheEnd && rest.empty(); }

private:
    std::span<const std::uint8_t> rest;
    bool pastTheEnd = false;
};

/// A request as it stands in a datagram; `payload` is everything after the 6-byte header, whatever
/// the length field says.
struct RequestFrame {
    std::uint16_t id = 0;
    std::uint16_t ctag = 0;
    std::uint16_t length = 0;
    std::span<const std::uint8_t> payload;

    bool lengthAgrees() const { return length == payload.size(); }
};

/// Nothing when the datagram is shorter than a request's header.
std::optional<RequestFrame> readRequest(std::span<const std::uint8_t> datagram);

/// Replaces what `frame` holds by the 8-byte header of an answer, its length and result still open.
void beginAnswer(Writer& frame, std::uint16_t id, std::uint16_t ctag);

/// Fills in the result and the length, which counts the result field and the data. An answer with a
/// result other than ok carries no data.
void finishAnswer(Writer& frame, Result result);

/// The 6-byte header of an OLT Ready event, whose length counts its data alone.
void beginOltReady(Writer& frame);
void finishOltReady(Writer& frame);

/// The 10-byte header of any other event; its length counts result, sequence and data.
void beginEvent(Writer& frame, std::uint16_t id, std::uint16_t sequence);
void finishEvent(Writer& frame);

}  // namespace ponmgr::sim
