#pragma once

#include <cstdint>
#include <string>

namespace ponmgr {

class TKMessage;

/// Readers of the fields of a message's data. Each reads big-endian at the cursor `offset`, which
/// counts from the first data byte, advances it by the field's width and returns the field as text.
/// All throw "Impossible to parse offset=..., length=..." when the field is not wholly there.
class RMParser {
public:
    /// 1, 2 and 8 bytes: unsigned decimal.
    static std::string parseU8Number(std::uint16_t* offset, const TKMessage* message);
    static std::string parseU16Number(std::uint16_t* offset, const TKMessage* message);
    static std::string parseU64Number(std::uint16_t* offset, const TKMessage* message);
    /// 6 bytes: "00:0a:ff:10:20:30".
    static std::string parseMacAddr(std::uint16_t* offset, const TKMessage* message);
    /// `length` bytes: two lower-case hexadecimal digits each.
    static std::string parseHex(std::uint16_t* offset, const TKMessage* message,
                                std::uint16_t length);

    /// The cursor (0 for null) when `length` bytes are there to be read; throws otherwise.
    static std::uint16_t checkValidOffset(const std::uint16_t* offset, const TKMessage* message,
                                          std::uint16_t length);
};

}  // namespace ponmgr
