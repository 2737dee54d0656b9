#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "model/GuardedText.h"
#include "tk/DatagramTransport.h"
#include "tk/UDPDescriptor.h"

namespace ponmgr {

/// The UDP port of the TK protocol, on our side and on the cards'.
constexpr std::uint16_t kTkPort = 14113;

/// The one UDP socket through which all cards of an interface are reached, with its receive thread.
/// The thread idles until a source address is set, binds to it, and hands every datagram to each
/// card whose sender address it carries. When the socket can't be bound, or a card sends a datagram
/// of less than 8 bytes, it closes the socket and builds it anew a second later.
class SocketHelper : public DatagramTransport {
public:
    /// The interface name that stands for "no device binding".
    static constexpr const char* kAnyInterface = "ethX";

    /// The instance of an interface, made and started at the first call with its name and never
    /// deleted. Not synchronised: called by the initial thread while it starts the slots.
    static SocketHelper* getInstance(const std::string& interface);

    explicit SocketHelper(std::string interface);
    SocketHelper(const SocketHelper&) = delete;
    SocketHelper& operator=(const SocketHelper&) = delete;
    ~SocketHelper() override;

    /// Sets the local address that datagrams leave from. The first address stays for the life of
    /// the process; later calls change nothing. Any thread.
    void setSourceIP(const std::string& ip);

    void registerUDPSocket(DatagramReceiver* receiver) override;
    void unregisterUDPSocket(DatagramReceiver* receiver) override;
    void send(const TKMessage& message, const sockaddr_in& destination) override;
    bool hasDone() const override { return done; }

    /// Opens and binds the socket. Receive thread only. Throws "Failed to create UDP socket", "Set
    /// socket failed", "Failed to reuse socket" and "Failed to bind socket", each after the
    /// system's own text on standard error.
    void bind();

private:
    void start();
    [[noreturn]] void processRxQueue();
    void receiveUntilFailure();
    void deliver(const unsigned char* datagram, std::size_t size, const sockaddr_in& sender);
    void close();
    std::shared_ptr<UDPDescriptor> currentSocket();

    // constant after construction
    const std::string interfaceName;

    // synchronise themselves
    GuardedText sourceIp;
    std::atomic<bool> done = false;

    // guarded by socketMutex; a sender keeps the descriptor open while it uses it
    std::mutex socketMutex;
    std::shared_ptr<UDPDescriptor> udpSocket;

    // guarded by receiversMutex, which the receive thread holds while it delivers
    std::mutex receiversMutex;
    std::vector<DatagramReceiver*> receivers;

    std::thread receiveThread;
};

}  // namespace ponmgr
