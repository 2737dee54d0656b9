#include "RunningSimulator.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "ChassisFixture.h"

namespace ponmgr::sim {

RunningSimulator::RunningSimulator(const ServeOptions& options)
    : stopEvent(eventfd(0, EFD_CLOEXEC), "eventfd"), simulator(options) {
    simulator.eventLoop().add(stopEvent.get(), EPOLLIN,
                              [this](std::uint32_t) { simulator.eventLoop().stop(); });
    thread = std::jthread([this] { simulator.run(); });
}

RunningSimulator::~RunningSimulator() {
    const std::uint64_t one = 1;
    EXPECT_EQ(write(stopEvent.get(), &one, sizeof one), static_cast<ssize_t>(sizeof one));
    thread.join();
}

ServeOptions RunningSimulator::defaults() {
    ServeOptions options;
    options.chassis.slots = {1, 2};
    options.chassis.latency = Duration::zero();
    options.chassis.onusPerPort = 0;
    options.controlPath = kControlPath;
    return options;
}

Manager::Manager() : socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket") {
    const auto local = toSocketAddress({0x7F000001, 14113});
    EXPECT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local), 0);
}

void Manager::send(const std::string& address, const std::string& hex) const {
    const auto datagram = bytesOf(hex);
    const auto to = toSocketAddress({ntohl(inet_addr(address.c_str())), 14113});
    EXPECT_EQ(sendto(socket.get(), datagram.data(), datagram.size(), 0,
                     reinterpret_cast<const sockaddr*>(&to), sizeof to),
              static_cast<ssize_t>(datagram.size()));
}

std::string Manager::receive() const {
    pollfd waiting{socket.get(), POLLIN, 0};
    if (poll(&waiting, 1, 10'000) != 1) {
        return "";
    }
    std::array<std::uint8_t, 2000> buffer{};
    const auto size = recv(socket.get(), buffer.data(), buffer.size(), 0);
    return hexText(std::span(buffer).first(static_cast<std::size_t>(size)));
}

}  // namespace ponmgr::sim
