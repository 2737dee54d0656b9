#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace ponmgr::sim {

using MacAddress = std::array<std::uint8_t, 6>;

/// An IPv4 address and UDP port, both in host order.
struct Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    bool operator==(const Endpoint&) const = default;
};

/// Lower-case hex digits, two a byte, with `separator` between the bytes.
std::string hexText(std::span<const std::uint8_t> bytes, const char* separator = "");

/// "00:0d:b6:00:00:01".
std::string toText(const MacAddress& mac);

/// "127.0.1.1", from an address in host order.
std::string addressText(std::uint32_t address);

/// "127.0.1.1:14113".
std::string toText(Endpoint endpoint);

/// To and from the form that the socket calls take.
sockaddr_in toSocketAddress(Endpoint endpoint);
Endpoint fromSocketAddress(const sockaddr_in& address);

}  // namespace ponmgr::sim
