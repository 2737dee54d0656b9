#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace ponmgr::dbman {

/// `text` made fit for a terminal: control characters and bytes that aren't UTF-8 become "?". Text
/// of more than `limit` bytes is cut between two characters and ends in "...".
std::string printable(std::string_view text, std::size_t limit);

/// `text` or, when it is empty, "-".
std::string orDash(const std::string& text);

/// The first `limit` bytes of `text`, or fewer so as not to cut a UTF-8 character.
std::string_view cutText(std::string_view text, std::size_t limit);

/// Whether `text` is UTF-8 throughout.
bool isUtf8(std::string_view text);

/// Number of characters of a printable text.
std::size_t countCharacters(std::string_view text);

/// UTC in ISO 8601 with milliseconds: "2031-02-03T04:05:06.789Z".
std::string formatUtc(std::chrono::system_clock::time_point time);

}  // namespace ponmgr::dbman
