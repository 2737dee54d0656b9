#include "tk/UDPSocket.h"

#include <arpa/inet.h>

#include <cstring>
#include <iostream>
#include <utility>

#include "app/Exception.h"
#include "app/LogLine.h"
#include "tk/SocketHelper.h"

namespace ponmgr {

namespace {

constexpr std::uint64_t kWaiting = std::uint64_t{1} << 32;

/// What `expected` holds while this message's response is waited for.
std::uint64_t expectation(const TKMessage& message) {
    return kWaiting | (std::uint64_t{message.getId()} << 16) | message.getCtag();
}

}  // namespace

UDPSocket::UDPSocket(ExchangeTiming exchangeTiming, std::unique_ptr<ExchangeClock> clock)
    : timing(exchangeTiming), responseSignal(std::move(clock)) {}

UDPSocket::~UDPSocket() {
    if (transport != nullptr) {
        transport->unregisterUDPSocket(this);
    }
}

void UDPSocket::start(const std::string& key, const std::string& slot) {
    start(SocketHelper::getInstance(key), slot);
}

void UDPSocket::start(DatagramTransport* sharedSocket, const std::string& slot) {
    slotName = slot;
    transport = sharedSocket;
    transport->registerUDPSocket(this);
}

void UDPSocket::setClientIpAddress(const std::string& ip) {
    sockaddr_in address{};
    if (!ip.empty()) {
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = inet_addr(ip.c_str());
        address.sin_port = htons(kTkPort);
    }
    const std::lock_guard lock(addressMutex);
    cardAddress = address;
    cardIp = ip;
}

void UDPSocket::clearClientIpAddress() {
    setClientIpAddress("");
}

std::string UDPSocket::getClientIpAddress() const {
    const std::lock_guard lock(addressMutex);
    return cardIp;
}

bool UDPSocket::hasClientIpAddress(const sockaddr_in& sender) const {
    const sockaddr_in address = clientAddress();
    return std::memcmp(&sender, &address, sizeof address) == 0;
}

sockaddr_in UDPSocket::clientAddress() const {
    const std::lock_guard lock(addressMutex);
    return cardAddress;
}

bool UDPSocket::hasDone() const {
    return transport != nullptr && transport->hasDone();
}

void UDPSocket::sendRequestMessage(const RequestMessage* requests, ResponseMessage* responses) {
    if (responses == nullptr) {
        PONMGR_THROW("Impossible to allocate a new Response Message");
    }
    if (clientAddress().sin_addr.s_addr == 0) {
        PONMGR_THROW("Client ip address empty to slot " + slotName);
    }
    const std::lock_guard lock(sendMutex);
    setGlobalResponseMessage(responses);
    bool answered = false;
    try {
        answered = requests != nullptr && transport != nullptr && sendAll(*requests);
    } catch (...) {
        std::cerr << "Error on SendRequestMessage\n";
    }
    expected = 0;
    clearGlobalResponseMessage();
    if (!answered) {
        PONMGR_THROW("Impossible to send messages to card");
    }
}

bool UDPSocket::sendAll(const RequestMessage& requests) {
    for (const auto& request : requests.getAll()) {
        if (!sendUntilAnswered(*request)) {
            return false;
        }
    }
    return true;
}

bool UDPSocket::sendUntilAnswered(const TKMessage& request) {
    for (int attempt = 0; attempt < timing.tries; attempt++) {
        // Between the send and the wait nothing must happen that takes time: an answer that comes
        // in between is kept, but its signal finds nobody, and the card is asked again.
        const auto deadline = deadlineFromNow();
        const sockaddr_in destination = clientAddress();
        expected = expectation(request);
        transport->send(request, destination);
        if (waitForResponse(deadline)) {
            return true;
        }
    }
    return false;
}

std::chrono::system_clock::time_point UDPSocket::deadlineFromNow() const {
    // The precise clock: just after a time-out a coarse one still shows the second before, which
    // would cut a whole second off the next try.
    const auto now = responseSignal.now();
    const auto intoStep = now.time_since_epoch() % timing.clockStep;
    return now - intoStep + timing.responseTime;
}

bool UDPSocket::waitForResponse(std::chrono::system_clock::time_point deadline) {
    return responseSignal.waitUntil(deadline, timing.responseTime);
}

void UDPSocket::freeWaitForResponse() {
    responseSignal.signal();
}

void UDPSocket::setGlobalResponseMessage(ResponseMessage* responses) {
    const std::lock_guard lock(targetMutex);
    target = responses;
}

void UDPSocket::clearGlobalResponseMessage() {
    setGlobalResponseMessage(nullptr);
}

bool UDPSocket::addGlobalResponseMessage(std::unique_ptr<TKMessage>& message) {
    const std::lock_guard lock(targetMutex);
    if (target == nullptr) {
        return false;
    }
    target->addResponseMessage(std::move(message));
    return true;
}

bool UDPSocket::processRxQueue(std::unique_ptr<TKMessage>& message) {
    if (expected == expectation(*message)) {
        // `expected` stays as it is, so a repeat of the same response is kept as well.
        const bool taken = addGlobalResponseMessage(message);
        freeWaitForResponse();
        return taken;
    }
    if (message->getId() < kFirstEventId) {
        return false;
    }
    const std::lock_guard lock(eventsMutex);
    if (events.size() >= kMostEvents) {
        lostEvents++;
        return false;
    }
    events.push_back(std::move(message));
    return true;
}

void UDPSocket::pullAllAlarm(ResponseMessage& pulled) {
    std::vector<std::unique_ptr<TKMessage>> taken;
    std::size_t lost = 0;
    {
        const std::lock_guard lock(eventsMutex);
        taken.swap(events);
        lost = std::exchange(lostEvents, 0);
    }
    if (lost > 0) {
        printLine(__func__, ": ", std::to_string(lost), " events of slot ", slotName,
                  " lost, more than ", std::to_string(kMostEvents), " waited");
    }
    for (auto& event : taken) {
        pulled.addResponseMessage(std::move(event));
    }
}

}  // namespace ponmgr
