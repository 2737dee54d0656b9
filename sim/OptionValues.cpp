#include "sim/OptionValues.h"

#include <arpa/inet.h>
#include <sys/un.h>

#include <algorithm>
#include <charconv>
#include <set>

namespace ponmgr::sim {

namespace {

struct Unit {
    std::string_view name;
    Duration length;
};

constexpr Unit kUnits[] = {
    {"us", std::chrono::microseconds(1)},
    {"ms", std::chrono::milliseconds(1)},
    {"s", std::chrono::seconds(1)},
};

[[noreturn]] void refuse(const std::string& option, const std::string& text,
                         const std::string& allowed) {
    throw UsageError(option + ": '" + text + "' can't be used; allowed: " + allowed);
}

std::optional<int> slotNumber(std::string_view text) {
    const auto slot = wholeNumber<int>(text);
    return slot && *slot >= kFirstSlot && *slot <= kLastSlot ? slot : std::nullopt;
}

/// "3" or "1-3".
bool addSlots(std::string_view part, std::set<int>& slots) {
    const auto dash = part.find('-');
    const auto first = slotNumber(part.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : slotNumber(part.substr(dash + 1));
    if (!first || !last || *first > *last) {
        return false;
    }
    for (int slot = *first; slot <= *last; ++slot) {
        slots.insert(slot);
    }
    return true;
}

std::string inSeconds(Duration duration) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(duration).count()) + "s";
}

}  // namespace

std::optional<double> fractionBetween(std::string_view text, double least, double most,
                                      std::chars_format format) {
    double value = 0;
    const auto* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, format);
    // The comparison is false for what is not a number.
    const bool inRange = value >= least && value <= most;
    return error == std::errc{} && stop == end && inRange ? std::optional(value) : std::nullopt;
}

std::vector<int> parseSlots(const std::string& option, const std::string& text) {
    std::set<int> slots;
    std::string_view rest = text;
    while (true) {
        const auto comma = rest.find(',');
        if (!addSlots(rest.substr(0, comma), slots)) {
            refuse(option, text, "slots 1 to 8 and ascending ranges of them, such as 1-3,7");
        }
        if (comma == std::string_view::npos) {
            return {slots.begin(), slots.end()};
        }
        rest.remove_prefix(comma + 1);
    }
}

int parseSlot(const std::string& option, const std::string& text) {
    const auto slot = slotNumber(text);
    if (!slot) {
        refuse(option, text, "a slot from 1 to 8");
    }
    return *slot;
}

Duration parseDuration(const std::string& option, const std::string& text, Duration longest) {
    if (text == "0") {
        return Duration::zero();
    }
    const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const auto count = wholeNumber<std::uint32_t>(std::string_view(text).substr(0, digits));
    for (const auto& unit : kUnits) {
        if (count && text.substr(digits) == unit.name && *count <= longest / unit.length) {
            return unit.length * *count;
        }
    }
    refuse(option, text,
           "a whole number with us, ms or s, such as 2ms, up to " + inSeconds(longest) + ", or 0");
}

std::uint32_t parseBaseAddress(const std::string& option, const std::string& text) {
    in_addr address{};
    const bool valid = inet_pton(AF_INET, text.c_str(), &address) == 1;
    const auto base = ntohl(address.s_addr);
    if (!valid || base > UINT32_MAX - kLastSlot) {
        refuse(option, text, "an IPv4 address with room for 8 more above it, such as 127.0.1.0");
    }
    return base;
}

std::uint32_t parseCount(const std::string& option, const std::string& text, std::uint32_t most) {
    const auto count = wholeNumber<std::uint32_t>(text);
    if (!count || *count > most) {
        refuse(option, text, "a whole number from 0 to " + std::to_string(most));
    }
    return *count;
}

std::uint16_t parsePort(const std::string& option, const std::string& text) {
    const auto port = wholeNumber<std::uint16_t>(text);
    if (!port || *port == 0) {
        refuse(option, text, "a port from 1 to 65535");
    }
    return *port;
}

bool parseOnOff(const std::string& option, const std::string& text) {
    if (text != "on" && text != "off") {
        refuse(option, text, "on, off");
    }
    return text == "on";
}

std::array<std::uint8_t, 2> parseProductCode(const std::string& option, const std::string& text) {
    const auto code = text.size() == 4 ? wholeNumber<std::uint16_t>(text, 16) : std::nullopt;
    if (!code) {
        refuse(option, text, "four hex digits, such as 3723");
    }
    return {static_cast<std::uint8_t>(*code >> 8), static_cast<std::uint8_t>(*code)};
}

double parseSpeed(const std::string& option, const std::string& text) {
    const auto speed = fractionBetween(text, 0.01, 1000);
    if (!speed) {
        refuse(option, text, "0.01 to 1000, such as 10");
    }
    return *speed;
}

double parseDecibels(const std::string& option, const std::string& text) {
    const auto value = fractionBetween(text, 0, 60);
    if (!value) {
        refuse(option, text, "0 to 60 decibels, such as 3.5");
    }
    return *value;
}

std::vector<std::uint8_t> parseBytes(const std::string& option, const std::string& text) {
    constexpr std::size_t kMost = 1500;
    std::vector<std::uint8_t> bytes;
    bool valid = !text.empty() && text.size() % 2 == 0 && text.size() <= 2 * kMost;
    for (std::size_t i = 0; valid && i < text.size(); i += 2) {
        const auto byte = wholeNumber<std::uint8_t>(std::string_view(text).substr(i, 2), 16);
        valid = byte.has_value();
        bytes.push_back(byte.value_or(0));
    }
    if (!valid) {
        refuse(option, text, "pairs of hex digits, 1 to 1500 of them");
    }
    return bytes;
}

std::string parseSocketPath(const std::string& option, const std::string& text) {
    constexpr auto kLongest = sizeof sockaddr_un{}.sun_path - 1;
    if (text.empty() || text.size() > kLongest) {
        refuse(option, text, "a path of 1 to " + std::to_string(kLongest) + " bytes");
    }
    return text;
}

}  // namespace ponmgr::sim
