#include "dbman/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>

namespace ponmgr::dbman {

namespace {

constexpr std::uint8_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

constexpr bool isContinuation(std::uint8_t byte) {
    return (byte & 0xC0U) == 0x80U;
}

/// How many bytes the UTF-8 character has that begins with `first`; 0 when none begins so.
constexpr std::size_t sequenceLength(std::uint8_t first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

/// Overlong forms, surrogates and numbers past the last character show in the second byte.
constexpr bool isSecondByteAllowed(std::uint8_t first, std::uint8_t second) {
    switch (first) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second <= 0x9F;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second <= 0x8F;
        default:
            return true;
    }
}

/// Length of the valid character at `index`; 0 when there is none.
std::size_t characterLength(std::string_view text, std::size_t index) {
    const std::size_t length = sequenceLength(byteAt(text, index));
    if (length == 0 || length > text.size() - index) {
        return 0;
    }
    for (std::size_t offset = 1; offset < length; ++offset) {
        if (!isContinuation(byteAt(text, index + offset))) {
            return 0;
        }
    }
    const bool allowed =
        length == 1 || isSecondByteAllowed(byteAt(text, index), byteAt(text, index + 1));
    return allowed ? length : 0;
}

/// C0, delete, and C1, which some terminals obey too.
bool isControl(std::string_view character) {
    const auto first = byteAt(character, 0);
    return first < 0x20 || first == 0x7F || (first == 0xC2 && byteAt(character, 1) < 0xA0);
}

}  // namespace

std::string_view cutText(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    std::size_t end = limit;
    // A character has at most three continuation bytes; more of them are no UTF-8 and may be cut.
    while (end > 0 && limit - end < 3 && isContinuation(byteAt(text, end))) {
        --end;
    }
    return text.substr(0, isContinuation(byteAt(text, end)) ? limit : end);
}

std::string printable(std::string_view text, std::size_t limit) {
    const auto shown = cutText(text, limit);
    std::string result;
    result.reserve(shown.size() + 3);
    for (std::size_t index = 0; index < shown.size();) {
        const auto length = characterLength(shown, index);
        const auto character = shown.substr(index, std::max<std::size_t>(length, 1));
        result += length == 0 || isControl(character) ? std::string_view("?") : character;
        index += character.size();
    }
    return shown.size() < text.size() ? result + "..." : result;
}

std::string orDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

bool isUtf8(std::string_view text) {
    std::size_t index = 0;
    while (index < text.size()) {
        const auto length = characterLength(text, index);
        if (length == 0) {
            return false;
        }
        index += length;
    }
    return true;
}

std::size_t countCharacters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return !isContinuation(static_cast<std::uint8_t>(byte));
    }));
}

std::string formatUtc(std::chrono::system_clock::time_point time) {
    using std::chrono::floor;
    const auto whole = floor<std::chrono::seconds>(time);
    const auto milliseconds = floor<std::chrono::milliseconds>(time - whole).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> date{};
    const auto length = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S.", &parts);
    const auto fraction = std::to_string(1000 + milliseconds).substr(1);
    return std::string(date.data(), length) + fraction + "Z";
}

}  // namespace ponmgr::dbman
