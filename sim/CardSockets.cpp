#include "sim/CardSockets.h"

namespace ponmgr::sim {

const UdpEndpoint& CardSockets::open(Endpoint local) {
    return sockets.try_emplace({local.address, local.port}, local).first->second;
}

bool CardSockets::send(Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram) const {
    const auto found = sockets.find({local.address, local.port});
    return found != sockets.end() && found->second.send(to, datagram);
}

}  // namespace ponmgr::sim
