#include "PlayedCard.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "Require.h"
#include "app/Exception.h"
#include "tk/SocketHelper.h"

namespace ponmgr::fuzz {

namespace {

using namespace std::chrono_literals;

constexpr ExchangeTiming kTiming;
/// How much of a wait may be missing by the wall clock without being slept for as well.
constexpr auto kClockAdjustment = 20ms;
constexpr auto kStart = std::chrono::system_clock::time_point(1'700'000'000s + 600ms);

constexpr std::array<const char*, 3> kAddresses = {"127.0.1.3", "127.0.1.4", ""};

sockaddr_in addressOf(const std::string& ip) {
    sockaddr_in address{};
    if (!ip.empty()) {
        address.sin_family = AF_INET;
        address.sin_port = htons(kTkPort);
        address.sin_addr.s_addr = inet_addr(ip.c_str());
    }
    return address;
}

bool same(const sockaddr_in& one, const sockaddr_in& other) {
    return one.sin_addr.s_addr == other.sin_addr.s_addr && one.sin_port == other.sin_port &&
           one.sin_family == other.sin_family;
}

unsigned numberAt(const Frame& frame, std::size_t offset) {
    return static_cast<unsigned>(frame[offset]) << 8 | frame[offset + 1];
}

Frame frameOf(const TKMessage& message) {
    return {message.getMessage(), message.getMessage() + message.getSize()};
}

std::unique_ptr<TKMessage> messageOf(const Frame& datagram) {
    return std::make_unique<TKMessage>(datagram.data(),
                                       static_cast<std::uint16_t>(datagram.size()));
}

std::string parseAll(ResponseMessage& messages) {
    try {
        messages.parseAllMessages();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return "";
}

}  // namespace

PlayedCard::PlayedCard(Script& steps) : script(steps), card(addressOf(kAddresses.front())) {}

std::unique_ptr<ExchangeClock> PlayedCard::makeClock() {
    auto made = std::make_unique<PlayedClock>(kStart, [this](Duration time) { playSleep(time); });
    clock = made.get();
    return made;
}

void PlayedCard::setSocket(UDPSocket* given) {
    socket = given;
    socket->setClientIpAddress(kAddresses.front());
}

void PlayedCard::begin(std::vector<Frame> requests) {
    asked = std::move(requests);
    current = 0;
    tries = 0;
    trying = false;
    exchanging = true;
    failed = same(card, sockaddr_in{});
    if (failed) {
        asked.clear();
    }
}

void PlayedCard::end(bool answered, ResponseMessage& responses) {
    closeTry();
    require(!failed || !answered, "an exchange that can't send fails");
    require(failed || answered == (current == asked.size()),
            "an exchange succeeds when each request had its answer, and only then");
    require(failed || answered || tries == kTiming.tries, "every try is made");
    exchanging = false;
    waitedFor.reset();
    requireSameRecords(responses, taken);
}

void PlayedCard::send(const TKMessage& message, const sockaddr_in& destination) {
    closeTry();
    require(exchanging && !failed, "nothing is sent outside of an exchange");
    require(current < asked.size(), "no more is sent than the requests");
    require(tries < kTiming.tries, "no request is sent more often than the tries");
    require(frameOf(message) == asked[current], "a request is sent as it is, in its turn");
    require(same(destination, card), "a request goes to the card's address");
    tries++;
    trying = true;
    slept = false;
    waitedFor = asked[current];
    deadline = clock->now() - clock->now().time_since_epoch() % 1s + 5s;
    playSteps();
    if (failed) {
        throw std::runtime_error("no network");
    }
}

/// Between a try's sleep and what follows it nothing is played, so the clock shows when it ended.
void PlayedCard::closeTry() {
    if (!trying || failed) {
        return;
    }
    trying = false;
    require(slept, "an answer is waited for after each send");
    if (wokenUp) {
        current++;
        tries = 0;
        return;
    }
    const Duration rest = deadline - clock->now();
    require(rest <= 0ns || rest > kClockAdjustment, "no wait ends just before its deadline");
}

void PlayedCard::playSleep(Duration time) {
    require(trying && !failed, "nobody waits who hasn't sent");
    const Duration rest = deadline - clock->now();
    if (slept) {
        require(!wokenUp, "no wait goes on after the answer");
        require(rest > 0ns && rest <= kClockAdjustment && time == rest,
                "a wait goes on for the little that a clock lags, and for nothing else");
    } else {
        require(time == std::min<Duration>(rest, 5s),
                "a wait lasts until the whole second of its send plus 5 s, and never over 5 s");
    }
    slept = true;
    wokenUp = false;
    playSteps();
}

void PlayedCard::playSteps() {
    while (!script.ended() && playStep(script.byte())) {
    }
}

/// Whether there is more to play here.
bool PlayedCard::playStep(std::uint8_t step) {
    using Play = void (PlayedCard::*)();
    static constexpr std::array<Play, 9> kPlays = {
        &PlayedCard::answer,   &PlayedCard::sendDatagram, &PlayedCard::repeatEarlier,
        &PlayedCard::passTime, &PlayedCard::setClock,     &PlayedCard::moveCard,
        &PlayedCard::wake,     &PlayedCard::loseNetwork,  &PlayedCard::pullEvents,
    };
    const std::size_t play = step % (kPlays.size() + 1);
    if (play == 0) {
        return false;
    }
    (this->*kPlays[play - 1])();
    return true;
}

/// The answer to a request of this exchange, or, with one byte changed, to none.
void PlayedCard::answer() {
    const unsigned choice = script.byte();
    const auto content = script.bytes(script.byte());
    Frame datagram(4);
    if (waitedFor && choice % 8 < 6) {
        std::copy_n(waitedFor->begin(), datagram.size(), datagram.begin());
    } else if (!asked.empty()) {
        std::copy_n(asked[choice / 8 % asked.size()].begin(), datagram.size(), datagram.begin());
    }
    if (choice % 8 == 5) {
        datagram[choice / 8 % datagram.size()] ^= static_cast<std::uint8_t>(1U << (choice >> 5));
    }
    datagram.insert(datagram.end(), content.begin(), content.end());
    handOver(datagram, card);
}

void PlayedCard::sendDatagram() {
    const auto content = script.bytes(script.byte());
    handOver(Frame(content.begin(), content.end()), card);
}

/// Any datagram of the past, from any address.
void PlayedCard::repeatEarlier() {
    const unsigned choice = script.byte();
    sockaddr_in sender = addressOf(kAddresses[choice % kAddresses.size()]);
    if (choice >= 0xf0) {
        sender.sin_port = htons(static_cast<std::uint16_t>(kTkPort + 1));
    }
    if (!earlier.empty()) {
        handOver(Frame(earlier[script.byte() % earlier.size()]), sender);
    }
}

void PlayedCard::passTime() {
    const unsigned time = script.number();
    clock->pass((time & 1U) == 0 ? Duration(std::chrono::milliseconds(time / 2))
                                 : Duration(std::chrono::microseconds(time / 2)));
}

/// By less than a second, by some minutes or by years, forward or back.
void PlayedCard::setClock() {
    static constexpr std::array<Duration, 3> kUnits = {1us, 5ms, 24h};
    const Duration unit = kUnits[script.byte() % kUnits.size()];
    clock->setWall(clock->now() + static_cast<std::int16_t>(script.number()) * unit);
}

void PlayedCard::moveCard() {
    const char* ip = kAddresses[script.byte() % kAddresses.size()];
    socket->setClientIpAddress(ip);
    card = addressOf(ip);
}

/// A wait may end without a reason.
void PlayedCard::wake() {
    wokenUp = wokenUp || clock->sleeperWaits();
    clock->wake();
}

void PlayedCard::loseNetwork() {
    failed = failed || (trying && !slept);
}

void PlayedCard::pullEvents() {
    ResponseMessage pulled(0ms);
    socket->pullAllAlarm(pulled);
    requireSameRecords(pulled, events);
}

/// As the receive thread hands over a datagram.
void PlayedCard::handOver(const Frame& datagram, const sockaddr_in& sender) {
    const bool ours = receiver->hasClientIpAddress(sender);
    require(ours == same(sender, card), "a card's datagrams are those from its address");
    if (!ours) {
        return;
    }
    earlier.push_back(datagram);
    std::unique_ptr<TKMessage> message;
    try {
        message = messageOf(datagram);
    } catch (const Exception&) {
        require(datagram.size() < 8, "a datagram of 8 bytes is a message");
        return;
    }
    const bool waits = clock->sleeperWaits();
    const bool accepted = receiver->processRxQueue(message);
    require(accepted == (message == nullptr), "what is taken is taken over");
    judge(datagram, accepted, waits);
}

void PlayedCard::judge(const Frame& datagram, bool accepted, bool waits) {
    const bool answers =
        waitedFor && std::equal(datagram.begin(), datagram.begin() + 4, waitedFor->begin());
    if (answers) {
        require(accepted, "an answer to what is asked is taken");
        taken.addResponseMessage(messageOf(datagram));
        wokenUp = wokenUp || waits;
        return;
    }
    const bool isEvent = numberAt(datagram, 0) >= kFirstEventId;
    require(accepted == isEvent, "events are taken, and no answer to what isn't asked");
    if (isEvent) {
        events.addResponseMessage(messageOf(datagram));
    }
}

void requireSameRecords(ResponseMessage& messages, ResponseMessage& expected) {
    require(messages.getMessagesSize() == expected.getMessagesSize(), "nothing taken is lost");
    require(parseAll(messages) == parseAll(expected), "what is taken fails as it was sent");
    require(messages.getContainerSize() == expected.getContainerSize(), "no record is lost");
    for (std::size_t i = 0; i < expected.getContainerSize(); i++) {
        require(messages.getContainer(i)->getJsonFile() == expected.getContainer(i)->getJsonFile(),
                "what is taken is what was sent, in its order");
    }
    messages.clear();
    expected.clear();
}

}  // namespace ponmgr::fuzz
