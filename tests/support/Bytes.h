#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tk/TKMessage.h"

namespace ponmgr::test {

using Bytes = std::vector<unsigned char>;

/// The bytes of hexadecimal text such as "00 07 00 01"; blanks and line ends may stand anywhere.
/// Throws std::invalid_argument for any other character and for an odd number of digits, so that a
/// slip in a test's literal never becomes a different frame.
Bytes bytes(std::string_view hex);

/// The reverse: lower-case pairs with one blank in between.
std::string hexText(std::span<const unsigned char> data);

/// The whole frame of a message as hexText().
std::string hexText(const TKMessage& message);

/// A message as the receive thread makes it from this datagram.
std::unique_ptr<TKMessage> received(std::string_view hex);

}  // namespace ponmgr::test
