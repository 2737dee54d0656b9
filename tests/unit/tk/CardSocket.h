#pragma once

#include <netinet/in.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "support/Bytes.h"
#include "tk/DatagramTransport.h"

namespace ponmgr::test {

/// A socket at a card's place: bound to an address of the loopback, with a limit on each receive.
class CardSocket {
public:
    explicit CardSocket(const std::string& ip, std::uint16_t port = 14113);
    CardSocket(const CardSocket&) = delete;
    CardSocket& operator=(const CardSocket&) = delete;
    ~CardSocket();

    /// Sends one datagram to the TK port of `ip`.
    void sendTo(const std::string& ip, const Bytes& datagram) const;
    /// The next datagram as text, and who sent it; "" when none comes within ten seconds.
    std::string receive(sockaddr_in* sender = nullptr) const;

private:
    int descriptor;
};

/// Collects what the shared socket delivers of one sender. Stays registered while it lives.
class CollectingReceiver : public DatagramReceiver {
public:
    CollectingReceiver(DatagramTransport& sharedSocket, const std::string& cardIp);
    CollectingReceiver(const CollectingReceiver&) = delete;
    CollectingReceiver& operator=(const CollectingReceiver&) = delete;
    ~CollectingReceiver() override;

    bool hasClientIpAddress(const sockaddr_in& sender) const override;
    bool processRxQueue(std::unique_ptr<TKMessage>& message) override;

    /// What was delivered so far, as text.
    std::vector<std::string> getDatagrams() const;
    /// Waits until a datagram has been delivered; false when none comes.
    bool waitForDatagrams(std::size_t count = 1) const;
    /// The frames of getDatagrams(), by place in memory.
    std::vector<const void*> getFrames() const;
    /// Lets messages go instead of taking them over.
    void refuse() { takes = false; }

private:
    DatagramTransport& transport;
    sockaddr_in card{};
    std::atomic<bool> takes = true;
    mutable std::mutex mutex;
    std::vector<std::string> datagrams;                // guarded by mutex
    std::vector<std::unique_ptr<TKMessage>> messages;  // guarded by mutex
};

}  // namespace ponmgr::test
