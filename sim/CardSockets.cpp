#include "sim/CardSockets.h"

#include <algorithm>

namespace ponmgr::sim {

std::shared_ptr<const UdpEndpoint> CardSockets::open(Endpoint local) {
    std::erase_if(sockets, [](const auto& entry) { return entry.second.expired(); });
    const std::pair place{local.address, local.port};
    const auto found = sockets.find(place);
    if (found != sockets.end()) {
        return found->second.lock();
    }
    auto opened = std::make_shared<const UdpEndpoint>(local);
    sockets.emplace(place, opened);
    return opened;
}

bool CardSockets::send(Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram) const {
    const auto found = sockets.find({local.address, local.port});
    const auto socket = found == sockets.end() ? nullptr : found->second.lock();
    return socket != nullptr && socket->send(to, datagram);
}

std::size_t CardSockets::count() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(sockets, [](const auto& entry) { return !entry.second.expired(); }));
}

}  // namespace ponmgr::sim
