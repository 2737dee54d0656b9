#include "benchmarks/support/UdpEnd.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ponmgr::bench {

namespace {

void check(bool good, const char* call) {
    if (!good) {
        throw std::system_error(errno, std::generic_category(), call);
    }
}

const sockaddr* general(const sockaddr_in* address) {
    return reinterpret_cast<const sockaddr*>(address);
}

}  // namespace

sockaddr_in ipv4(const std::string& address, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &result.sin_addr) != 1) {
        throw std::invalid_argument("'" + address + "' is no IPv4 address such as 127.0.1.1");
    }
    return result;
}

UdpEnd::UdpEnd(const std::string& address, std::uint16_t port)
    : descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP)) {
    check(descriptor >= 0, "socket");
    const sockaddr_in local = ipv4(address, port);
    if (::bind(descriptor, general(&local), sizeof local) != 0) {
        const int reason = errno;
        ::close(descriptor);
        throw std::system_error(reason, std::generic_category(), "bind to " + address);
    }
}

UdpEnd::~UdpEnd() {
    ::close(descriptor);
}

sockaddr_in UdpEnd::getAddress() const {
    sockaddr_in local{};
    socklen_t length = sizeof local;
    check(::getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &length) == 0,
          "getsockname");
    return local;
}

void UdpEnd::setPatience(unsigned milliseconds) {
    timeval time{};
    time.tv_sec = milliseconds / 1000;
    time.tv_usec = suseconds_t{milliseconds % 1000} * 1000;
    check(::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time) == 0, "setsockopt");
}

void UdpEnd::setReceiveRoom(int bytes) {
    check(::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes) == 0, "setsockopt");
}

void UdpEnd::send(std::span<const unsigned char> datagram, const sockaddr_in& to) {
    check(::sendto(descriptor, datagram.data(), datagram.size(), 0, general(&to), sizeof to) >= 0,
          "sendto");
}

std::size_t UdpEnd::receive(std::span<unsigned char> buffer, sockaddr_in& from) {
    socklen_t length = sizeof from;
    const ssize_t size = ::recvfrom(descriptor, buffer.data(), buffer.size(), 0,
                                    reinterpret_cast<sockaddr*>(&from), &length);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return 0;
    }
    check(size >= 0, "recvfrom");
    return static_cast<std::size_t>(size);
}

}  // namespace ponmgr::bench
