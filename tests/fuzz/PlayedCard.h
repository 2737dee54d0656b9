#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "PlayedClock.h"
#include "Script.h"
#include "tk/DatagramTransport.h"
#include "tk/ResponseMessage.h"
#include "tk/UDPSocket.h"

namespace ponmgr::fuzz {

using Frame = std::vector<std::uint8_t>;

/// A card, its network and its time, all played from a script by the one thread there is: what
/// comes in while the exchange sends, while it sleeps and between the exchanges. It keeps the book
/// of what the exchange must do next, and requires it.
class PlayedCard : public DatagramTransport {
public:
    explicit PlayedCard(Script& steps);

    /// The clock for the socket under test. Once.
    std::unique_ptr<ExchangeClock> makeClock();
    /// The socket under test, which has that clock and this card. Once.
    void setSocket(UDPSocket* given);

    /// An exchange begins that sends these requests.
    void begin(std::vector<Frame> requests);
    /// It has ended. What it has taken must be what `responses` holds.
    void end(bool answered, ResponseMessage& responses);
    /// What happens between two exchanges, and before and after them all.
    void playBetween() { playSteps(); }
    /// The events so far must be what the socket holds.
    void pullEvents();

    void send(const TKMessage& message, const sockaddr_in& destination) override;
    bool hasDone() const override { return true; }
    void registerUDPSocket(DatagramReceiver* given) override { receiver = given; }
    void unregisterUDPSocket(DatagramReceiver* /*receiver*/) override { receiver = nullptr; }

private:
    using Time = PlayedClock::Time;
    using Duration = PlayedClock::Duration;

    void playSleep(Duration time);
    void playSteps();
    bool playStep(std::uint8_t step);
    void answer();
    void sendDatagram();
    void repeatEarlier();
    void passTime();
    void setClock();
    void moveCard();
    void wake();
    void loseNetwork();
    void handOver(const Frame& datagram, const sockaddr_in& sender);
    void judge(const Frame& datagram, bool accepted, bool waits);
    void closeTry();

    Script& script;
    UDPSocket* socket = nullptr;
    DatagramReceiver* receiver = nullptr;
    PlayedClock* clock = nullptr;
    std::vector<Frame> earlier;  // the datagrams handed over so far
    sockaddr_in card;            // all zero: no address

    // the book of the exchange
    bool exchanging = false;
    bool failed = false;             // it can't send
    std::vector<Frame> asked;        // its requests
    std::size_t current = 0;         // the request whose turn it is
    int tries = 0;                   // of this request
    bool trying = false;             // a try of it was sent and hasn't ended
    bool slept = false;              // in this try
    bool wokenUp = false;            // in the last sleep
    Time deadline;                   // of this try
    std::optional<Frame> waitedFor;  // the request that was sent last

    // what must have been taken
    ResponseMessage taken{std::chrono::milliseconds(0)};
    ResponseMessage events{std::chrono::milliseconds(0)};
};

/// Both hold as many messages, and what is parsed from them is the same, failure included.
void requireSameRecords(ResponseMessage& messages, ResponseMessage& expected);

}  // namespace ponmgr::fuzz
