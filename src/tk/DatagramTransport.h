#pragma once

#include <netinet/in.h>

#include <memory>

#include "tk/TKMessage.h"

namespace ponmgr {

/// One card's side of the conversation, as the shared socket sees it.
class DatagramReceiver {
public:
    virtual ~DatagramReceiver() = default;

    /// Whether the datagrams of this sender are this card's.
    virtual bool hasClientIpAddress(const sockaddr_in& sender) const = 0;

    /// Offers a received message. True: taken over, `message` is null then. False: the caller drops
    /// it. Called by the receive thread.
    virtual bool processRxQueue(std::unique_ptr<TKMessage>& message) = 0;
};

/// The shared socket, as one card's side sees it. Any thread may call it.
class DatagramTransport {
public:
    virtual ~DatagramTransport() = default;

    /// Sends the whole frame as one datagram; without an open socket nothing happens.
    virtual void send(const TKMessage& message, const sockaddr_in& destination) = 0;

    /// Whether the socket has ever been bound.
    virtual bool hasDone() const = 0;

    /// Adds or removes a receiver, which stays the caller's and must outlive its registration.
    virtual void registerUDPSocket(DatagramReceiver* receiver) = 0;
    virtual void unregisterUDPSocket(DatagramReceiver* receiver) = 0;
};

}  // namespace ponmgr
