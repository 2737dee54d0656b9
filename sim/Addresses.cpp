#include "sim/Addresses.h"

namespace ponmgr::sim {

std::string hexText(std::span<const std::uint8_t> bytes, const char* separator) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const auto byte : bytes) {
        if (!text.empty()) {
            text += separator;
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

std::string toText(const MacAddress& mac) {
    return hexText(mac, ":");
}

std::string addressText(std::uint32_t address) {
    return std::to_string(address >> 24) + '.' + std::to_string((address >> 16) & 0xFF) + '.' +
           std::to_string((address >> 8) & 0xFF) + '.' + std::to_string(address & 0xFF);
}

std::string toText(Endpoint endpoint) {
    return addressText(endpoint.address) + ':' + std::to_string(endpoint.port);
}

sockaddr_in toSocketAddress(Endpoint endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(endpoint.address);
    address.sin_port = htons(endpoint.port);
    return address;
}

Endpoint fromSocketAddress(const sockaddr_in& address) {
    return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

}  // namespace ponmgr::sim
