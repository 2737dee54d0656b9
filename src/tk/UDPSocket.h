#pragma once

#include <netinet/in.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tk/DatagramTransport.h"
#include "tk/RequestMessage.h"
#include "tk/ResponseMessage.h"
#include "tk/ResponseSignal.h"

namespace ponmgr {

/// How long an exchange waits. The deadline of a wait is the wall clock's time now, cut down to
/// whole steps of `clockStep`, plus `responseTime`; so a card has 4 to 5 s for its first answer.
struct ExchangeTiming {
    std::chrono::milliseconds responseTime{5000};
    std::chrono::milliseconds clockStep{1000};
    /// How often one request is sent before the exchange is given up.
    int tries = 3;
};

/// One card's side of the conversation: sends requests one at a time, waits for the response to
/// each and sends it again when none comes, and collects the card's events until they are pulled.
///
/// sendRequestMessage and pullAllAlarm belong to the card's threads; processRxQueue and
/// hasClientIpAddress to the receive thread; the address may be set and read by any.
class UDPSocket : public DatagramReceiver {
public:
    explicit UDPSocket(ExchangeTiming exchangeTiming = {},
                       std::unique_ptr<ExchangeClock> clock = std::make_unique<ExchangeClock>());
    UDPSocket(const UDPSocket&) = delete;
    UDPSocket& operator=(const UDPSocket&) = delete;
    ~UDPSocket() override;

    /// Joins the shared socket of the interface `key`. Once, by the initial thread.
    void start(const std::string& key, const std::string& slot);
    /// The same with a socket of the caller's, which must outlive this object.
    void start(DatagramTransport* sharedSocket, const std::string& slot);

    /// The card's address; an empty text clears it.
    void setClientIpAddress(const std::string& ip);
    void clearClientIpAddress();
    std::string getClientIpAddress() const;

    /// Sends all requests and collects their responses. Blocks while the card is silent: up to 15 s
    /// for one request. Throws "Impossible to allocate a new Response Message", "Client ip address
    /// empty to slot ..." and "Impossible to send messages to card"; the responses that came stay
    /// in `responses` all the same.
    void sendRequestMessage(const RequestMessage* requests, ResponseMessage* responses);

    /// Moves all events collected so far, in order of arrival, into `events`. Those that came when
    /// kMostEvents waited already are lost; their number is printed.
    void pullAllAlarm(ResponseMessage& events);

    /// Eight seconds of a storm of a thousand a second, which is longer than a pass over a full
    /// card takes, in about one megabyte.
    static constexpr std::size_t kMostEvents = 8192;

    /// Whether the shared socket has ever been bound.
    bool hasDone() const;

    bool hasClientIpAddress(const sockaddr_in& sender) const override;
    bool processRxQueue(std::unique_ptr<TKMessage>& message) override;

private:
    bool sendAll(const RequestMessage& requests);
    bool sendUntilAnswered(const TKMessage& request);
    bool waitForResponse(std::chrono::system_clock::time_point deadline);
    void freeWaitForResponse();
    void setGlobalResponseMessage(ResponseMessage* responses);
    void clearGlobalResponseMessage();
    bool addGlobalResponseMessage(std::unique_ptr<TKMessage>& message);
    std::chrono::system_clock::time_point deadlineFromNow() const;
    sockaddr_in clientAddress() const;

    // constant after start
    const ExchangeTiming timing;
    std::string slotName;
    DatagramTransport* transport = nullptr;

    // Locks, in the order in which a thread may take them: sendMutex first, and each of the others
    // alone inside it. The receive thread takes targetMutex, releases it, and only then signals.
    std::mutex sendMutex;
    std::mutex targetMutex;
    ResponseMessage* target = nullptr;  // guarded by targetMutex; not owned
    ResponseSignal responseSignal;      // synchronises itself
    std::mutex eventsMutex;
    std::vector<std::unique_ptr<TKMessage>> events;  // guarded by eventsMutex
    std::size_t lostEvents = 0;                      // guarded by eventsMutex

    // The outstanding request as one word, so that the receive thread never sees half of it: id,
    // ctag, and a bit that says that somebody waits.
    std::atomic<std::uint64_t> expected = 0;

    mutable std::mutex addressMutex;
    sockaddr_in cardAddress{};  // guarded by addressMutex
    std::string cardIp;         // guarded by addressMutex
};

}  // namespace ponmgr
