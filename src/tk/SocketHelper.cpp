#include "tk/SocketHelper.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>

#include "app/Exception.h"
#include "app/LogLine.h"
#include "app/NamedThread.h"

namespace ponmgr {

namespace {

// One Ethernet payload; no card sends more in one datagram.
constexpr std::size_t kReceiveBufferSize = 1500;
// Room for what a storm from one card brings while the receive thread waits for a core, so that the
// others' answers aren't dropped with it: two seconds of 10,000 small datagrams a second.
constexpr int kReceiveBacklog = 8 << 20;
constexpr std::chrono::seconds kRebuildPause{1};
// A receive that fails again and again must not keep a core busy.
constexpr std::chrono::milliseconds kReceiveErrorPause{10};

int setOption(const UDPDescriptor& opened, int option, const void* value, std::size_t size) {
    return setsockopt(opened.get(), SOL_SOCKET, option, value, static_cast<socklen_t>(size));
}

/// As large as the machine lets it be: without the right to it, up to net.core.rmem_max.
void raiseReceiveBacklog(const UDPDescriptor& opened) {
    if (setOption(opened, SO_RCVBUFFORCE, &kReceiveBacklog, sizeof kReceiveBacklog) < 0) {
        setOption(opened, SO_RCVBUF, &kReceiveBacklog, sizeof kReceiveBacklog);
    }
}

/// While both sockets allow it, any other user's process could bind the same address and port,
/// speak to the cards in the daemon's place and take their answers.
void refuseOthers(const UDPDescriptor& bound) {
    const int reuse = 0;
    setOption(bound, SO_REUSEADDR, &reuse, sizeof reuse);
}

}  // namespace

SocketHelper* SocketHelper::getInstance(const std::string& interface) {
    using Instances = std::map<std::string, std::unique_ptr<SocketHelper>>;
    // Never deleted: the receive threads use their instances until the process ends.
    static Instances& instances = *std::make_unique<Instances>().release();
    auto& instance = instances[interface];
    if (!instance) {
        instance = std::make_unique<SocketHelper>(interface);
        instance->start();
    }
    return instance.get();
}

SocketHelper::SocketHelper(std::string interface) : interfaceName(std::move(interface)) {}

SocketHelper::~SocketHelper() = default;

void SocketHelper::start() {
    receiveThread = startNamedThread("tk-receive", [this] { processRxQueue(); });
}

void SocketHelper::setSourceIP(const std::string& ip) {
    sourceIp.setOnce(ip);
}

void SocketHelper::registerUDPSocket(DatagramReceiver* receiver) {
    const std::lock_guard lock(receiversMutex);
    receivers.push_back(receiver);
}

void SocketHelper::unregisterUDPSocket(DatagramReceiver* receiver) {
    const std::lock_guard lock(receiversMutex);
    std::erase(receivers, receiver);
}

void SocketHelper::send(const TKMessage& message, const sockaddr_in& destination) {
    const std::shared_ptr<UDPDescriptor> current = currentSocket();
    if (!current) {
        return;
    }
    // A datagram that can't be sent is a datagram lost: the exchange sends it again.
    sendto(current->get(), message.getMessage(), message.getSize(), MSG_CONFIRM,
           reinterpret_cast<const sockaddr*>(&destination), sizeof destination);
}

void SocketHelper::bind() {
    // The former socket shares its address with none, not even its successor.
    close();
    auto opened = std::make_shared<UDPDescriptor>();
    if (opened->get() < 0) {
        perror("socket failed");
        PONMGR_THROW("Failed to create UDP socket");
    }
    if (interfaceName != kAnyInterface &&
        setOption(*opened, SO_BINDTODEVICE, interfaceName.c_str(), interfaceName.size() + 1) < 0) {
        perror("setsockopt failed");
        PONMGR_THROW("Set socket failed");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(sourceIp.get().c_str());
    address.sin_port = htons(kTkPort);
    const int reuse = 1;
    if (setOption(*opened, SO_REUSEADDR, &reuse, sizeof reuse) < 0) {
        perror("reuse()");
        PONMGR_THROW("Failed to reuse socket");
    }
    raiseReceiveBacklog(*opened);
    if (::bind(opened->get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        perror("bind failed");
        PONMGR_THROW("Failed to bind socket");
    }
    refuseOthers(*opened);
    const std::lock_guard lock(socketMutex);
    udpSocket = std::move(opened);
}

std::shared_ptr<UDPDescriptor> SocketHelper::currentSocket() {
    const std::lock_guard lock(socketMutex);
    return udpSocket;
}

void SocketHelper::close() {
    const std::lock_guard lock(socketMutex);
    udpSocket.reset();
}

void SocketHelper::processRxQueue() {
    for (;;) {
        std::this_thread::sleep_for(kRebuildPause);
        if (sourceIp.isEmpty()) {
            continue;
        }
        try {
            bind();
            done = true;
            receiveUntilFailure();
        } catch (const Exception& exception) {
            printLine("Exception: ", exception.what());
        } catch (...) {
            printLine("Unknow Exception on SocketHelper::processRxQueue");
        }
        close();
    }
}

void SocketHelper::receiveUntilFailure() {
    const std::shared_ptr<UDPDescriptor> current = currentSocket();
    std::array<unsigned char, kReceiveBufferSize> buffer{};
    for (;;) {
        sockaddr_in sender{};
        socklen_t senderLength = sizeof sender;
        const ssize_t received = recvfrom(current->get(), buffer.data(), buffer.size(), MSG_WAITALL,
                                          reinterpret_cast<sockaddr*>(&sender), &senderLength);
        if (received >= 1) {
            deliver(buffer.data(), static_cast<std::size_t>(received), sender);
        } else if (received < 0 && errno != EINTR) {
            std::this_thread::sleep_for(kReceiveErrorPause);
        }
    }
}

void SocketHelper::deliver(const unsigned char* datagram, std::size_t size,
                           const sockaddr_in& sender) {
    const std::lock_guard lock(receiversMutex);
    for (DatagramReceiver* receiver : receivers) {
        if (receiver->hasClientIpAddress(sender)) {
            auto message = std::make_unique<TKMessage>(datagram, static_cast<std::uint16_t>(size));
            receiver->processRxQueue(message);
        }
    }
}

}  // namespace ponmgr
