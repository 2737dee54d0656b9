#pragma once

#include <sys/socket.h>

#include <string>
#include <vector>

#include "Descriptor.h"

namespace ponmgr::test {

/// A local socket by the system's own calls: the peer that isn't ours. Everything that fails throws
/// std::system_error unless said otherwise.
class RawSocket {
public:
    explicit RawSocket(int type = SOCK_DGRAM);

    void bind(const std::string& path);
    /// Ties the socket to the peer at `path`: from then on it takes messages from nobody else.
    void connect(const std::string& path);
    /// For a stream socket that is bound.
    void listen();
    /// One datagram with `text`, and with these descriptors passed along.
    void send(const std::string& path, const std::string& text,
              const std::vector<int>& descriptors = {});
    /// The next datagram.
    std::string receive();
    /// Whether SO_SNDBUFFORCE and SO_SNDBUF together give this socket a send buffer of `size`
    /// bytes.
    bool reachesSendBuffer(int size);

    int get() const { return descriptor.get(); }

private:
    corvane::Descriptor descriptor;
};

/// Leaves at `path` the socket file of a listener that has ended.
void leaveStaleSocket(const std::string& path, int type = SOCK_DGRAM);

}  // namespace ponmgr::test
