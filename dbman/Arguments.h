#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ponmgr::dbman {

constexpr int kFirstSlot = 1;
constexpr int kLastSlot = 8;

/// A PON port of a card.
struct PortAddress {
    int slot = 0;
    int port = 0;
};

// Checks of what people and programs give. Every function throws ArgumentError, naming the value
// and what is allowed.

/// A slot, "1" to "8".
int parseSlot(std::string_view text);

/// Slots and ranges of slots separated by commas, "1-4,7"; ascending and each once.
std::vector<int> parseSlotList(std::string_view text);

/// "SLOT/PORT", for example "3/1"; a card has the ports 0 and 1.
PortAddress parsePortAddress(std::string_view text);

/// A PON port of a card, "0" or "1".
int parsePort(std::string_view text);

/// Six pairs of hex digits, separated by colons, by hyphens or by nothing; returned in the daemon's
/// form: lower case with colons.
std::string parseMacAddress(std::string_view text);

/// A VLAN id, 1 to 4095; returned as decimal text without leading zeros.
std::string parseVlan(std::string_view text);

/// What an optical level in dBm may be.
constexpr int kLowestLevel = -60;
constexpr int kHighestLevel = 20;

/// An optical level in dBm, -60 to 20, with or without the unit: "-25", "-25.5dBm".
double parseLevel(std::string_view text);

/// A time of at least a second: a number and s, m, h or d, such as "90s", "15m", "24h", "7d".
std::chrono::seconds parseDuration(std::string_view text);

/// How many of something are wanted, 1 to 10000.
int parseCount(std::string_view text);

/// How many rows a table keeps, 1 to 1000000000.
int parseRows(std::string_view text);

/// An IPv4 address in dotted form; returned in the host's byte order.
std::uint32_t parseIpv4(const std::string& text);

/// The IPv4 address of one host, not 0.x.x.x, a multicast or the broadcast address; returned in
/// dotted form.
std::string parseHostAddress(const std::string& text);

/// The dotted form of an address in the host's byte order.
std::string printIpv4(std::uint32_t address);

/// A uri: it begins with "/" and has neither white space nor control characters.
std::string parseUri(const std::string& text);

/// "KEY=VALUE"; the key isn't empty, the value may be and may hold further "=".
std::pair<std::string, std::string> parseKeyValue(const std::string& text);

}  // namespace ponmgr::dbman
