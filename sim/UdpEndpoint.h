#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "sim/Addresses.h"
#include "sim/FileDescriptor.h"

namespace ponmgr::sim {

/// A UDP socket bound to one card's address; never blocks.
class UdpEndpoint {
public:
    /// Throws std::system_error when the address can't be bound; nobody shares it.
    explicit UdpEndpoint(Endpoint local);

    int descriptor() const { return socket.get(); }

    /// Size of the datagram written to `buffer`, cut off at its end, with its sender in `from`;
    /// nothing when none is waiting.
    std::optional<std::size_t> receive(std::span<std::uint8_t> buffer, Endpoint& from) const;

    /// False when the system refuses it: no room, nobody reachable there.
    bool send(Endpoint to, std::span<const std::uint8_t> datagram) const;

private:
    FileDescriptor socket;
};

}  // namespace ponmgr::sim
