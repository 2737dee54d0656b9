// The exchange: requests go out through UDPSocket while a card's datagrams and silences, all of
// them read from the input, come in from another thread and in the midst of sending.

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "Require.h"
#include "app/Exception.h"
#include "tk/UDPSocket.h"

using ponmgr::fuzz::require;

namespace {

using Datagram = std::vector<unsigned char>;

constexpr ponmgr::ExchangeTiming kTiming{.responseTime = std::chrono::milliseconds(1),
                                         .clockStep = std::chrono::milliseconds(1),
                                         .tries = 3};
constexpr std::size_t kMostRequests = 3;
constexpr std::size_t kMostDatagrams = 4;
constexpr std::size_t kLongestDatagram = 96;

/// A card that answers a request by datagrams of the input.
class FuzzedCard : public ponmgr::DatagramTransport {
public:
    explicit FuzzedCard(FuzzedDataProvider& fuzzedInput)
        : input(fuzzedInput), network([this](const std::stop_token& stop) { deliverLate(stop); }) {}

    void send(const ponmgr::TKMessage& request, const sockaddr_in& /*destination*/) override {
        sent++;
        for (std::size_t i = input.ConsumeIntegralInRange<std::size_t>(0, kMostDatagrams); i > 0;
             i--) {
            const bool inside = input.ConsumeBool();
            Datagram datagram = readDatagram(request);
            if (inside) {
                handOver(datagram);
                continue;
            }
            const std::lock_guard lock(mutex);
            late.push_back(std::move(datagram));
        }
        changed.notify_all();
    }
    bool hasDone() const override { return true; }
    void registerUDPSocket(ponmgr::DatagramReceiver* given) override { receiver = given; }
    void unregisterUDPSocket(ponmgr::DatagramReceiver* /*receiver*/) override { finish(); }

    /// Delivers what is still under way, and nothing after that.
    void finish() {
        network.request_stop();
        changed.notify_all();
        if (network.joinable()) {
            network.join();
        }
    }

    std::size_t sent = 0;
    // by either thread, under receiving; read when the other has ended
    std::size_t events = 0;

private:
    /// Any bytes, or a frame with the request's id and ctag, which the exchange waits for.
    Datagram readDatagram(const ponmgr::TKMessage& request) {
        Datagram datagram = input.ConsumeBytes<unsigned char>(
            input.ConsumeIntegralInRange<std::size_t>(0, kLongestDatagram));
        if (input.ConsumeBool() && datagram.size() >= 4) {
            std::copy_n(request.getMessage(), 4, datagram.begin());
        }
        return datagram;
    }

    /// As the receive thread hands over a datagram from the card's address.
    void handOver(const Datagram& datagram) {
        const std::lock_guard lock(receiving);
        try {
            auto message = std::make_unique<ponmgr::TKMessage>(
                datagram.data(), static_cast<std::uint16_t>(datagram.size()));
            const bool isEvent = message->getId() >= ponmgr::kFirstEventId;
            const bool taken = receiver->processRxQueue(message);
            require(taken == (message == nullptr), "what is taken is taken over");
            require(taken || !isEvent, "every event is taken");
            events += isEvent ? 1 : 0;
        } catch (const ponmgr::Exception&) {
            require(datagram.size() < 8, "a datagram of 8 bytes is a message");
        }
    }

    void deliverLate(const std::stop_token& stop) {
        for (;;) {
            std::vector<Datagram> batch;
            {
                std::unique_lock lock(mutex);
                changed.wait(lock, stop, [this] { return !late.empty(); });
                batch.swap(late);
            }
            if (batch.empty()) {
                return;
            }
            for (const Datagram& datagram : batch) {
                handOver(datagram);
            }
        }
    }

    FuzzedDataProvider& input;  // used by the sending thread alone
    ponmgr::DatagramReceiver* receiver = nullptr;
    std::mutex receiving;
    std::mutex mutex;
    std::condition_variable_any changed;
    std::vector<Datagram> late;  // guarded by mutex
    std::jthread network;
};

void addRequest(ponmgr::RequestMessage& requests, FuzzedDataProvider& input) {
    using Add = void (ponmgr::RequestMessage::*)();
    static constexpr std::array<Add, 9> kRequests = {
        &ponmgr::RequestMessage::addResetOLT,
        &ponmgr::RequestMessage::addGetOLTInformation,
        &ponmgr::RequestMessage::addEnableOLT,
        &ponmgr::RequestMessage::addDisableOLT,
        &ponmgr::RequestMessage::addGetListOfDiscoveredLinks,
        &ponmgr::RequestMessage::addGetListOfAllKnownLogicalLinks,
        &ponmgr::RequestMessage::addGetOLTNVSEnabled,
        &ponmgr::RequestMessage::addGetAllPath,
        &ponmgr::RequestMessage::doAddGetAllDomains,
    };
    (requests.*input.PickValueInArray(kRequests))();
}

void parseAll(ponmgr::ResponseMessage& messages) {
    try {
        messages.parseAllMessages();
    } catch (const ponmgr::Exception&) {
    }
    messages.clear();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ponmgr::fuzz::silenceOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    FuzzedCard card(input);
    ponmgr::UDPSocket socket(kTiming);
    socket.start(&card, "3");
    socket.setClientIpAddress("127.0.1.3");
    ponmgr::RequestMessage requests;
    const auto count = input.ConsumeIntegralInRange<std::size_t>(1, kMostRequests);
    for (std::size_t i = 0; i < count; i++) {
        addRequest(requests, input);
    }
    ponmgr::ResponseMessage responses(std::chrono::milliseconds(0));
    bool answered = true;
    try {
        socket.sendRequestMessage(&requests, &responses);
    } catch (const ponmgr::Exception&) {
        answered = false;
    }
    require(card.sent <= count * kTiming.tries, "no request is sent more often than the tries");
    require(card.sent >= (answered ? count : 1), "an exchange sends all its requests");
    require(!answered || responses.getMessagesSize() >= count, "each request has its response");
    card.finish();
    ponmgr::ResponseMessage events(std::chrono::milliseconds(0));
    socket.pullAllAlarm(events);
    require(events.getMessagesSize() == card.events, "no event is lost");
    parseAll(responses);
    parseAll(events);
    return 0;
}
