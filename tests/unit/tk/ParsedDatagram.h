#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace ponmgr::test {

/// The record that a card's datagram is parsed to, as JSON, or the failure as "function: message".
/// The datagram is parsed behind a good sibling; that a failure leaves neither of them is expected
/// here, once for all who use it.
std::string parsed(const std::string& datagram);

/// The first `length` bytes of hexadecimal text, as hexadecimal text.
std::string cut(const std::string& hex, std::size_t length);

/// Where a field stands in a message's data.
struct FieldPlace {
    std::size_t offset;
    std::size_t width;
};

/// The text of the failure of a layout with these fields when only `length` bytes are there, or
/// "nothing".
std::string firstMissing(std::span<const FieldPlace> fields, std::size_t length);

}  // namespace ponmgr::test
