#include "sim/UdpEndpoint.h"

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace ponmgr::sim {

namespace {

/// A burst of thousands of requests must not be lost while the loop is busy elsewhere.
constexpr int kReceiveBufferSize = 1024 * 1024;

}  // namespace

UdpEndpoint::UdpEndpoint(Endpoint local)
    : socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket") {
    // Best effort: the system may grant less.
    setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBufferSize, sizeof kReceiveBufferSize);
    const auto address = toSocketAddress(local);
    if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
}

std::optional<std::size_t> UdpEndpoint::receive(std::span<std::uint8_t> buffer,
                                                Endpoint& from) const {
    sockaddr_in address{};
    while (true) {
        socklen_t length = sizeof address;
        const auto size = recvfrom(socket.get(), buffer.data(), buffer.size(), 0,
                                   reinterpret_cast<sockaddr*>(&address), &length);
        if (size >= 0) {
            from = fromSocketAddress(address);
            return static_cast<std::size_t>(size);
        }
        if (errno != EINTR) {
            return std::nullopt;
        }
    }
}

bool UdpEndpoint::send(Endpoint to, std::span<const std::uint8_t> datagram) const {
    const auto address = toSocketAddress(to);
    return sendto(socket.get(), datagram.data(), datagram.size(), 0,
                  reinterpret_cast<const sockaddr*>(&address), sizeof address) >= 0;
}

}  // namespace ponmgr::sim
