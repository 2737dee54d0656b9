#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/Bytes.h"
#include "tk/DatagramTransport.h"

namespace ponmgr::test {

/// A shared socket with a card behind it that plays a script, for tests of whatever sends requests
/// through UDPSocket. All datagrams are written as literal hexadecimal text.
///
///     ScriptedTransport card;
///     card.expect("00 07 00 01 00 00").silent();                       // no answer: sent again
///     card.expect("00 07 00 01 00 00").deliver("80 19 ...")            // an event in between
///                                     .deliver("00 07 00 01 00 02 00 00");
///     socket.start(&card, "1");
///
/// A datagram that is not the next of the script fails the running test and gets no answer; so does
/// a script that is not played to its end when the transport is destroyed.
///
/// An exchange forgets a response that comes before its thread waits, so deliver() hands a datagram
/// over only when the thread that sent is asleep: no test needs a delay for that. Everything goes
/// to all registered receivers, whatever their address.
class ScriptedTransport : public DatagramTransport {
public:
    /// What the card does about one datagram, in the order in which it was written down. Belongs to
    /// the transport.
    class Step {
    public:
        /// Does nothing; says so to the reader.
        Step& silent() { return *this; }
        /// Hands a datagram over before send() returns: the exchange doesn't wait yet.
        Step& deliverInsideSend(std::string_view datagram);
        /// Hands a datagram over once the sender waits. What comes behind the datagram that ends
        /// the wait meets an exchange that has gone on: a duplicate that must meet the same request
        /// belongs into deliverInsideSend().
        Step& deliver(std::string_view datagram);
        /// deliver() of a response without data, result 0, to the datagram of this step.
        Step& accept();
        /// send() throws std::runtime_error.
        Step& failToSend();

    private:
        friend class ScriptedTransport;
        Bytes request;
        std::vector<Bytes> inside;
        std::vector<Bytes> later;
        bool fails = false;
    };

    /// What was sent, where to and when.
    struct Sent {
        std::string datagram;
        sockaddr_in destination;
        std::chrono::system_clock::time_point time;
    };

    /// A datagram that was handed over, and whether a receiver took it.
    struct Delivery {
        std::string datagram;
        bool taken;
    };

    /// What an unscripted datagram is answered with; nothing for silence.
    using Responder = std::function<std::vector<Bytes>(const Bytes& request)>;

    ScriptedTransport();
    ScriptedTransport(const ScriptedTransport&) = delete;
    ScriptedTransport& operator=(const ScriptedTransport&) = delete;
    ~ScriptedTransport() override;

    /// The next datagram that must be sent. The reference stays good.
    Step& expect(std::string_view datagram);

    /// Answers what comes after the script instead of failing the test.
    void answerTheRest(Responder answers);
    /// answerTheRest() with a response without data and with result 0.
    void acceptTheRest();
    /// A response without data, result 0, to `request`.
    static Bytes acceptanceOf(const Bytes& request);

    /// Hands a datagram over now, on the calling thread. Whether a receiver took it.
    bool deliverNow(std::string_view datagram);

    std::vector<Sent> getSent() const;
    /// The datagrams of getSent() alone.
    std::vector<std::string> getSentDatagrams() const;
    /// All that was handed over, in order.
    std::vector<Delivery> getDeliveries() const;
    std::size_t getReceiverCount() const;
    /// What hasDone() says from now on.
    void setDone(bool isDone);

    void send(const TKMessage& message, const sockaddr_in& destination) override;
    bool hasDone() const override;
    void registerUDPSocket(DatagramReceiver* receiver) override;
    void unregisterUDPSocket(DatagramReceiver* receiver) override;

private:
    struct Pending {
        Bytes datagram;
        long senderThread;
    };

    Step takeStep(const Bytes& request);
    bool handOver(const Bytes& datagram);
    void deliverPending(const std::stop_token& stop);

    // guarded by mutex
    mutable std::mutex mutex;
    std::list<Step> script;
    Responder responder;
    std::vector<Sent> sent;
    std::vector<Delivery> deliveries;
    std::deque<Pending> pending;
    bool done = false;
    std::condition_variable_any pendingChanged;

    // Guarded by receiversMutex, which is held while a datagram is handed over, so that a receiver
    // is in use no longer once it has unregistered.
    mutable std::mutex receiversMutex;
    std::vector<DatagramReceiver*> receivers;

    std::jthread card;
};

}  // namespace ponmgr::test
