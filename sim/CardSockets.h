#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <utility>

#include "sim/UdpEndpoint.h"

namespace ponmgr::sim {

/// The UDP sockets of all cards and those that faults send from, by the address and port that they
/// are bound to. Each belongs to those who have opened it, and is closed when the last of them lets
/// it go.
class CardSockets {
public:
    /// Binds a socket, or shares the one that is bound there. Throws std::system_error when it
    /// can't be bound.
    std::shared_ptr<const UdpEndpoint> open(Endpoint local);

    /// False when nothing is bound there, and when the system refuses.
    bool send(Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram) const;

    /// How many are bound.
    std::size_t count() const;

private:
    std::map<std::pair<std::uint32_t, std::uint16_t>, std::weak_ptr<const UdpEndpoint>> sockets;
};

}  // namespace ponmgr::sim
