#include "CardSocket.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <system_error>

#include "support/WaitFor.h"

namespace ponmgr::test {

namespace {

constexpr std::uint16_t kPort = 14113;
constexpr timeval kReceiveLimit{10, 0};

sockaddr_in addressOf(const std::string& ip, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(ip.c_str());
    address.sin_port = htons(port);
    return address;
}

void check(bool succeeded, const char* what) {
    if (!succeeded) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

}  // namespace

CardSocket::CardSocket(const std::string& ip, std::uint16_t port)
    : descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    check(descriptor >= 0, "socket");
    const sockaddr_in address = addressOf(ip, port);
    check(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
          "bind a card's socket");
    check(
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &kReceiveLimit, sizeof kReceiveLimit) == 0,
        "limit the receive");
}

CardSocket::~CardSocket() {
    close(descriptor);
}

void CardSocket::sendTo(const std::string& ip, const Bytes& datagram) const {
    const sockaddr_in address = addressOf(ip, kPort);
    check(sendto(descriptor, datagram.data(), datagram.size(), 0,
                 reinterpret_cast<const sockaddr*>(&address), sizeof address) >= 0,
          "send as a card");
}

std::string CardSocket::receive(sockaddr_in* sender) const {
    std::array<unsigned char, 65535> buffer{};
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const ssize_t size = recvfrom(descriptor, buffer.data(), buffer.size(), 0,
                                  reinterpret_cast<sockaddr*>(&from), &length);
    if (sender != nullptr) {
        *sender = from;
    }
    return size < 0 ? "" : hexText(std::span(buffer.data(), static_cast<std::size_t>(size)));
}

CollectingReceiver::CollectingReceiver(DatagramTransport& sharedSocket, const std::string& cardIp)
    : transport(sharedSocket), card(addressOf(cardIp, kPort)) {
    transport.registerUDPSocket(this);
}

CollectingReceiver::~CollectingReceiver() {
    transport.unregisterUDPSocket(this);
}

bool CollectingReceiver::hasClientIpAddress(const sockaddr_in& sender) const {
    return std::memcmp(&sender, &card, sizeof card) == 0;
}

bool CollectingReceiver::processRxQueue(std::unique_ptr<TKMessage>& message) {
    const std::lock_guard lock(mutex);
    datagrams.push_back(hexText(*message));
    if (takes) {
        messages.push_back(std::move(message));
    }
    return takes;
}

std::vector<std::string> CollectingReceiver::getDatagrams() const {
    const std::lock_guard lock(mutex);
    return datagrams;
}

bool CollectingReceiver::waitForDatagrams(std::size_t count) const {
    return waitFor([this, count] { return getDatagrams().size() >= count; });
}

std::vector<const void*> CollectingReceiver::getFrames() const {
    const std::lock_guard lock(mutex);
    std::vector<const void*> frames;
    for (const auto& message : messages) {
        frames.push_back(message->getMessage());
    }
    return frames;
}

}  // namespace ponmgr::test
