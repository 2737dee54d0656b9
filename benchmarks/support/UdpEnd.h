#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace ponmgr::bench {

/// Throws std::invalid_argument for a text that is no IPv4 address.
sockaddr_in ipv4(const std::string& address, std::uint16_t port);

/// Owns a UDP socket bound to a local address. Two threads may use it, one to send and one to
/// receive. All calls throw std::system_error.
class UdpEnd {
public:
    /// Port 0 is any that is free.
    UdpEnd(const std::string& address, std::uint16_t port);
    UdpEnd(const UdpEnd&) = delete;
    UdpEnd& operator=(const UdpEnd&) = delete;
    ~UdpEnd();

    /// Where it is bound.
    sockaddr_in getAddress() const;

    /// How long receive() waits at most; 0 for ever.
    void setPatience(unsigned milliseconds);
    /// Room for what arrives faster than it is read.
    void setReceiveRoom(int bytes);

    void send(std::span<const unsigned char> datagram, const sockaddr_in& to);
    /// How many bytes came; 0 when patience is at its end.
    std::size_t receive(std::span<unsigned char> buffer, sockaddr_in& from);

private:
    int descriptor;
};

}  // namespace ponmgr::bench
