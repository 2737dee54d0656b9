#include "sim/Chassis.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "sim/CardRequests.h"

namespace ponmgr::sim {

namespace {

Card makeCard(int slot, const ChassisSettings& settings) {
    Card card(slot, {settings.base + static_cast<std::uint32_t>(slot), settings.port});
    card.identity.productCode = settings.productCode;
    card.nvsCurrent = settings.nvsEnabled && !settings.configured;
    card.nvsAfterNextBoot = card.nvsCurrent;
    if (settings.configured) {
        card.configuration = CardConfiguration::provisioned();
    }
    return card;
}

}  // namespace

Chassis::Chassis(const ChassisSettings& settings, TimerQueue& queue, Transmit sender,
                 Observer watcher)
    : latency(settings.latency),
      resetTime(settings.resetTime),
      timers(queue),
      transmit(std::move(sender)),
      observer(std::move(watcher)) {
    allCards.reserve(settings.slots.size());
    for (const auto slot : settings.slots) {
        allCards.push_back(makeCard(slot, settings));
    }
}

Card* Chassis::findCard(int slot) {
    const auto found = std::ranges::find(allCards, slot, &Card::slot);
    return found == allCards.end() ? nullptr : &*found;
}

bool Chassis::isOneOfTheCards(Endpoint endpoint) const {
    return std::ranges::find(allCards, endpoint, &Card::address) != allCards.end();
}

std::string_view Chassis::whyDropped(Card& card, Endpoint from,
                                     std::span<const std::uint8_t> datagram) {
    const auto request = readRequest(datagram);
    if (!request) {
        ++card.counters.tooShort;
        return "shorter than a header";
    }
    // An answer from card to card would be answered again, for ever.
    if (request->id >= kFirstEventId || isOneOfTheCards(from)) {
        ++card.counters.notRequests;
        return "not a request";
    }
    ++card.counters.requests;
    card.lastPeer = from;
    if (card.isSilent()) {
        ++card.counters.unheard;
        return card.resetting ? "the card is resetting" : "the card is muted";
    }
    return {};
}

void Chassis::receive(Card& card, Endpoint from, std::span<const std::uint8_t> datagram) {
    const auto dropped = whyDropped(card, from, datagram);
    observe({card, Direction::toCard, from, datagram, dropped});
    if (!dropped.empty()) {
        return;
    }
    const auto request = readRequest(datagram);
    Exchange exchange{card, *request, 0, frame, false};
    answerRequest(exchange);
    if (latency == Duration::zero()) {
        answer(card, from, card.resets, frame.view(), exchange.resetAfterAnswer);
        return;
    }
    const auto view = frame.view();
    timers.after(latency, [this, &card, from, resetsThen = card.resets,
                           bytes = std::vector(view.begin(), view.end()),
                           thenReset = exchange.resetAfterAnswer] {
        answer(card, from, resetsThen, bytes, thenReset);
    });
}

void Chassis::answer(Card& card, Endpoint to, std::uint32_t resetsThen,
                     std::span<const std::uint8_t> answerFrame, bool thenReset) {
    if (card.resets != resetsThen) {
        ++card.counters.abandoned;
        return;
    }
    if (transmitObserved(card, to, answerFrame)) {
        ++card.counters.answers;
    }
    if (thenReset) {
        reset(card);
    }
}

bool Chassis::reset(Card& card) {
    if (card.resetting) {
        return false;
    }
    card.beginReset();
    timers.after(resetTime, [this, &card] { comeUp(card); });
    return true;
}

void Chassis::comeUp(Card& card) {
    card.finishReset();
    if (!card.lastPeer) {
        return;
    }
    beginOltReady(frame);
    writeOltInformation(card.identity, frame);
    finishOltReady(frame);
    if (transmitObserved(card, *card.lastPeer, frame.view())) {
        ++card.counters.events;
    }
}

bool Chassis::transmitObserved(const Card& card, Endpoint to, std::span<const std::uint8_t> bytes) {
    const bool sent = transmit(card, to, bytes);
    observe({card, Direction::fromCard, to, bytes, sent ? "" : "the system refused to send it"});
    return sent;
}

void Chassis::observe(const DatagramEvent& event) const {
    if (observer) {
        observer(event);
    }
}

}  // namespace ponmgr::sim
