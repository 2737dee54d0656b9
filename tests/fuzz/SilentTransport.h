#pragma once

#include "tk/DatagramTransport.h"

namespace ponmgr::fuzz {

/// A shared socket behind which every card is silent.
class SilentTransport : public DatagramTransport {
public:
    void send(const TKMessage& /*message*/, const sockaddr_in& /*destination*/) override {}
    bool hasDone() const override { return true; }
    void registerUDPSocket(DatagramReceiver* /*receiver*/) override {}
    void unregisterUDPSocket(DatagramReceiver* /*receiver*/) override {}
};

}  // namespace ponmgr::fuzz
