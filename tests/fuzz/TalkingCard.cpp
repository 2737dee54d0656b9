#include "TalkingCard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

#include "tk/TKIDMessage.h"
#include "unit/poncard/SurpriseWake.h"

namespace ponmgr::fuzz {

namespace {

constexpr std::size_t kLeastDatagram = 8;
constexpr std::size_t kLargestDatagram = 65507;
constexpr std::uint16_t kHeaderBeforeLength = 6;
/// An answer with all these bits has data that may be longer than 255 bytes.
constexpr unsigned kLongAnswer = 0xF0;

constexpr std::array kEvents = {
    TKIDMessage::OLTReady,
    TKIDMessage::LinkDiscovery,
    TKIDMessage::ReportAlarm,
    TKIDMessage::OnuLinkMovedBetweenPonPorts,
};

void addNumber(std::vector<std::uint8_t>& frame, std::size_t number) {
    frame.push_back(static_cast<std::uint8_t>(number >> 8));
    frame.push_back(static_cast<std::uint8_t>(number));
}

void setLength(std::vector<std::uint8_t>& frame, std::size_t length) {
    frame[4] = static_cast<std::uint8_t>(length >> 8);
    frame[5] = static_cast<std::uint8_t>(length);
}

}  // namespace

void TalkingCard::send(const TKMessage& message, const sockaddr_in& /*destination*/) {
    for (;;) {
        const unsigned choice = script.byte();
        switch (choice % 4) {
            case 1:
                answer(message, choice);
                return;
            case 2:
                tellEvent(choice);
                break;
            case 3: {
                Frame datagram;
                addData(datagram, script.byte());
                handOver(datagram);
                break;
            }
            default:
                return;
        }
    }
}

void TalkingCard::answer(const TKMessage& request, unsigned choice) {
    Frame frame;
    addNumber(frame, request.getId());
    addNumber(frame, request.getCtag());
    addNumber(frame, 0);
    addNumber(frame, (choice & 4U) != 0 ? script.number() : 0U);
    const std::size_t length = (choice & 8U) != 0 ? script.number() : 0U;
    const bool isLong = (choice & kLongAnswer) == kLongAnswer;
    const std::size_t count = isLong ? script.number() : script.byte();
    addData(frame, std::min(count, kLargestDatagram - frame.size()));
    setLength(frame, (choice & 8U) != 0 ? length : frame.size() - kHeaderBeforeLength);
    handOver(frame);
}

void TalkingCard::tellEvent(unsigned choice) {
    const auto id = kEvents[choice / 4 % kEvents.size()];
    Frame frame;
    addNumber(frame, static_cast<std::uint16_t>(id));
    addNumber(frame, 0);
    addNumber(frame, 0);
    if (id != TKIDMessage::OLTReady) {
        addNumber(frame, 0);  // result
        addNumber(frame, 0);  // sequence
    }
    addData(frame, script.byte());
    setLength(frame, frame.size() - kHeaderBeforeLength);
    handOver(frame);
}

void TalkingCard::addData(Frame& frame, std::size_t most) {
    const auto data = script.bytes(most);
    frame.insert(frame.end(), data.begin(), data.end());
}

/// As the receive thread hands over a datagram; what has no whole header it drops.
void TalkingCard::handOver(const Frame& datagram) {
    if (datagram.size() < kLeastDatagram) {
        return;
    }
    auto message =
        std::make_unique<TKMessage>(datagram.data(), static_cast<std::uint16_t>(datagram.size()));
    const bool isEvent = message->getId() >= kFirstEventId;
    if (receiver->processRxQueue(message) && !isEvent) {
        test::endNextWaitBySurprise();
    }
}

}  // namespace ponmgr::fuzz
