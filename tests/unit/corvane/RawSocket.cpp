#include "RawSocket.h"

#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace ponmgr::test {

namespace {

void check(bool succeeded, const char* what) {
    if (!succeeded) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

}  // namespace

RawSocket::RawSocket(int type) : descriptor(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
    check(descriptor.isOpen(), "socket");
}

void RawSocket::bind(const std::string& path) {
    const auto address = addressOf(path);
    check(::bind(get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
}

void RawSocket::connect(const std::string& path) {
    const auto address = addressOf(path);
    check(::connect(get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
          "connect");
}

void RawSocket::listen() {
    check(::listen(get(), 1) == 0, "listen");
}

void RawSocket::send(const std::string& path, const std::string& text,
                     const std::vector<int>& descriptors) {
    auto address = addressOf(path);
    std::string content = text;
    iovec part{content.data(), content.size()};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    const auto size = descriptors.size() * sizeof(int);
    std::vector<char> control(CMSG_SPACE(size));
    if (!descriptors.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        auto* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(size);
        std::memcpy(CMSG_DATA(header), descriptors.data(), size);
    }
    check(sendmsg(get(), &message, MSG_NOSIGNAL) >= 0, "sendmsg");
}

std::string RawSocket::receive() {
    std::string text(2'000'000, '\0');
    const auto length = ::recv(get(), text.data(), text.size(), 0);
    check(length >= 0, "recv");
    text.resize(static_cast<std::size_t>(length));
    return text;
}

bool RawSocket::reachesSendBuffer(int size) {
    if (setsockopt(get(), SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof size) != 0) {
        setsockopt(get(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    }
    int reached = 0;
    socklen_t length = sizeof reached;
    check(getsockopt(get(), SOL_SOCKET, SO_SNDBUF, &reached, &length) == 0, "getsockopt");
    return reached >= size;
}

void leaveStaleSocket(const std::string& path, int type) {
    RawSocket(type).bind(path);
}

}  // namespace ponmgr::test
