#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>

#include "sim/UdpEndpoint.h"

namespace ponmgr::sim {

/// The UDP sockets of all cards, by the address and port that they are bound to, and those that
/// faults send from.
class CardSockets {
public:
    /// Binds a socket; nothing happens when there is one. Throws std::system_error when it can't be
    /// bound.
    const UdpEndpoint& open(Endpoint local);
    /// The socket that is bound there; there must be one.
    const UdpEndpoint& at(Endpoint local) const { return sockets.at({local.address, local.port}); }

    /// False when nothing is bound there, and when the system refuses.
    bool send(Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram) const;

private:
    std::map<std::pair<std::uint32_t, std::uint16_t>, UdpEndpoint> sockets;
};

}  // namespace ponmgr::sim
