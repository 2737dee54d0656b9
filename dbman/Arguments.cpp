#include "dbman/Arguments.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownValueBytes = 60;
constexpr int kLastPort = 1;
constexpr int kFirstVlan = 1;
constexpr int kLastVlan = 4095;
constexpr int kMacAddressPairs = 6;
constexpr int kMostRows = 1'000'000'000;
constexpr int kHighestCount = 10'000;
constexpr int kLongestDays = 3650;

struct Unit {
    char letter;
    int seconds;
};

constexpr std::array kUnits = {Unit{'s', 1}, Unit{'m', 60}, Unit{'h', 3600}, Unit{'d', 86'400}};

[[noreturn]] void refuse(std::string_view what, std::string_view value, std::string_view allowed) {
    throw ArgumentError(std::string(what) + " \"" + printable(value, kShownValueBytes) +
                        "\" is not allowed: " + std::string(allowed));
}

/// True when `text` is digits only and a number from `first` to `last`.
bool readNumber(std::string_view text, int first, int last, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && text.front() != '-' && number >= first && number <= last;
}

bool isHexDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

char toLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    for (auto end = text.find(separator); end != std::string_view::npos;
         end = text.find(separator, begin)) {
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    parts.push_back(text.substr(begin));
    return parts;
}

}  // namespace

int parseSlot(std::string_view text) {
    int slot = 0;
    if (!readNumber(text, kFirstSlot, kLastSlot, slot)) {
        refuse("slot", text, "a slot is a number from 1 to 8");
    }
    return slot;
}

std::vector<int> parseSlotList(std::string_view text) {
    std::set<int> slots;
    for (const auto part : split(text, ',')) {
        const auto ends = split(part, '-');
        int first = 0;
        int last = 0;
        if (ends.size() > 2 || !readNumber(ends.front(), kFirstSlot, kLastSlot, first) ||
            !readNumber(ends.back(), first, kLastSlot, last)) {
            refuse("slot list", text, "slots from 1 to 8 and ascending ranges, such as 1-4,7");
        }
        for (int slot = first; slot <= last; ++slot) {
            slots.insert(slot);
        }
    }
    return {slots.begin(), slots.end()};
}

PortAddress parsePortAddress(std::string_view text) {
    const auto parts = split(text, '/');
    PortAddress address;
    if (parts.size() != 2 || !readNumber(parts[0], kFirstSlot, kLastSlot, address.slot) ||
        !readNumber(parts[1], 0, kLastPort, address.port)) {
        refuse("port", text, "a port is SLOT/PORT, slot 1 to 8 and port 0 or 1, such as 3/1");
    }
    return address;
}

int parsePort(std::string_view text) {
    int port = 0;
    if (!readNumber(text, 0, kLastPort, port)) {
        refuse("port", text, "a card has the PON ports 0 and 1");
    }
    return port;
}

std::string parseMacAddress(std::string_view text) {
    const char separator = text.size() > 2 && (text[2] == ':' || text[2] == '-') ? text[2] : '\0';
    const std::size_t step = separator == '\0' ? 2 : 3;
    bool right = text.size() == kMacAddressPairs * step - (step - 2);
    std::string result;
    for (std::size_t index = 0; right && index < text.size(); ++index) {
        right = index % step == 2 ? text[index] == separator : isHexDigit(text[index]);
        if (index > 0 && index % step == 0) {
            result += ':';
        }
        if (index % step != 2) {
            result += toLower(text[index]);
        }
    }
    if (!right) {
        refuse("MAC address", text,
               "six pairs of hex digits, such as 00:0d:b6:00:00:03, 00-0D-B6-00-00-03 or "
               "000db6000003");
    }
    return result;
}

std::string parseVlan(std::string_view text) {
    int vlan = 0;
    if (!readNumber(text, kFirstVlan, kLastVlan, vlan)) {
        refuse("VLAN", text, "a VLAN is a number from 1 to 4095");
    }
    return std::to_string(vlan);
}

double parseLevel(std::string_view text) {
    auto number = text;
    if (number.size() > 3) {
        std::string unit(number.substr(number.size() - 3));
        std::transform(unit.begin(), unit.end(), unit.begin(), toLower);
        number.remove_suffix(unit == "dbm" ? 3 : 0);
    }
    double level = 0;
    const auto* const last = number.data() + number.size();
    const auto [end, error] = std::from_chars(number.data(), last, level, std::chars_format::fixed);
    // "not a number" is neither below nor above anything.
    const bool within = level >= kLowestLevel && level <= kHighestLevel;
    if (error != std::errc() || end != last || !within) {
        refuse("level", text, "a number of dBm from -60 to 20, such as -25 or -25.5dBm");
    }
    return level;
}

std::chrono::seconds parseDuration(std::string_view text) {
    const auto unit = std::find_if(kUnits.begin(), kUnits.end(), [text](const Unit& row) {
        return !text.empty() && row.letter == text.back();
    });
    int count = 0;
    if (unit != kUnits.end()) {
        const int longest = kLongestDays * (86'400 / unit->seconds);
        if (readNumber(text.substr(0, text.size() - 1), 1, longest, count)) {
            return std::chrono::seconds(count) * unit->seconds;
        }
    }
    refuse("time", text, "a number and s, m, h or d, at most 3650d, such as 90s, 15m, 24h or 7d");
}

int parseCount(std::string_view text) {
    int count = 0;
    if (!readNumber(text, 1, kHighestCount, count)) {
        refuse("count", text, "a number from 1 to 10000");
    }
    return count;
}

int parseRows(std::string_view text) {
    int rows = 0;
    if (!readNumber(text, 1, kMostRows, rows)) {
        refuse("number of rows", text, "a number from 1 to 1000000000");
    }
    return rows;
}

std::uint32_t parseIpv4(const std::string& text) {
    in_addr address{};
    // inet_pton would stop at an embedded zero byte.
    const bool whole = text.find('\0') == std::string::npos;
    if (!whole || inet_pton(AF_INET, text.c_str(), &address) != 1) {
        refuse("address", text, "an IPv4 address in dotted form, such as 127.0.1.3");
    }
    return ntohl(address.s_addr);
}

std::string parseHostAddress(const std::string& text) {
    constexpr std::uint32_t kFirstHost = 0x01000000;
    constexpr std::uint32_t kFirstMulticast = 0xE0000000;
    const auto address = parseIpv4(text);
    if (address < kFirstHost || address >= kFirstMulticast) {
        refuse("address", text, "the address of one host, 1.0.0.0 to 223.255.255.255");
    }
    return printIpv4(address);
}

std::string printIpv4(std::uint32_t address) {
    const in_addr network{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &network, text.data(), text.size());
    return text.data();
}

std::string parseUri(const std::string& text) {
    const auto isBad = [](unsigned char byte) { return byte <= ' ' || byte == 0x7F; };
    const bool clean = std::none_of(text.begin(), text.end(), isBad) && isUtf8(text);
    if (!clean || !text.starts_with('/')) {
        refuse("uri", text, "a uri begins with / and has no blanks, such as /slot/reset");
    }
    return text;
}

std::pair<std::string, std::string> parseKeyValue(const std::string& text) {
    const auto separator = text.find('=');
    if (separator == std::string::npos || separator == 0 || !isUtf8(text)) {
        refuse("value", text, "KEY=VALUE in UTF-8, such as slot_id=3");
    }
    return {text.substr(0, separator), text.substr(separator + 1)};
}

}  // namespace ponmgr::dbman
