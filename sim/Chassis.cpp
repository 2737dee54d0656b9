#include "sim/Chassis.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {

namespace {

/// As the manager leaves it.
void configure(Card& card) {
    card.configuration = CardConfiguration::provisioned();
    for (auto& onu : card.onus) {
        provision(card.configuration, onu);
        onu.discovered = true;
    }
}

Card makeCard(int slot, const ChassisSettings& settings) {
    Card card(slot, {settings.base + static_cast<std::uint32_t>(slot), settings.port});
    card.identity.productCode = settings.productCode;
    card.nvsCurrent = settings.nvsEnabled && !settings.configured;
    card.nvsAfterNextBoot = card.nvsCurrent;
    card.random = Random(std::uint64_t{settings.seed} << 8 | static_cast<unsigned>(slot));
    card.onus = makeOnus(slot, settings.onusPerPort, card.random);
    if (settings.configured) {
        configure(card);
    }
    return card;
}

}  // namespace

Chassis::Chassis(const ChassisSettings& settings, TimerQueue& queue, Transmit sender,
                 Observer watcher)
    : latency(settings.latency),
      resetTime(settings.resetTime),
      opticsInterval(settings.opticsInterval),
      timers(queue),
      transmit(std::move(sender)),
      observer(std::move(watcher)),
      network(
          {settings.discoveryInterval, settings.onuResetTime}, queue,
          [this](Card& card, std::span<const std::uint8_t> event) { return emit(card, event); }) {
    allCards.reserve(settings.slots.size());
    for (const auto slot : settings.slots) {
        allCards.push_back(makeCard(slot, settings));
        network.registerOnus(allCards.back());
    }
    if (opticsInterval > Duration::zero()) {
        timers.after(opticsInterval, [this] { driftOptics(); });
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
    Exchange exchange{card, *request, 0, frame, {}};
    answerRequest(exchange);
    if (latency == Duration::zero()) {
        answer(card, from, card.resets, frame.view(), exchange.after);
        return;
    }
    const auto view = frame.view();
    timers.after(latency, [this, &card, from, resetsThen = card.resets,
                           bytes = std::vector(view.begin(), view.end()), after = exchange.after] {
        answer(card, from, resetsThen, bytes, after);
    });
}

void Chassis::answer(Card& card, Endpoint to, std::uint32_t resetsThen,
                     std::span<const std::uint8_t> answerFrame, AfterAnswer after) {
    if (card.resets != resetsThen) {
        ++card.counters.abandoned;
        return;
    }
    if (transmitObserved(card, to, answerFrame)) {
        ++card.counters.answers;
    }
    follow(card, after);
}

void Chassis::follow(Card& card, AfterAnswer after) {
    switch (after.action) {
        case AfterAnswer::Action::nothing:
            return;
        case AfterAnswer::Action::resetCard:
            reset(card);
            return;
        case AfterAnswer::Action::registerOnus:
            network.registerOnus(card);
            return;
        case AfterAnswer::Action::resetOnu:
            network.resetOnu(card, *after.onu);
            return;
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
    beginOltReady(frame);
    writeOltInformation(card.identity, frame);
    finishOltReady(frame);
    emit(card, frame.view());
    network.registerOnus(card);
}

bool Chassis::emit(Card& card, std::span<const std::uint8_t> event) {
    if (!card.lastPeer || card.resetting || !transmitObserved(card, *card.lastPeer, event)) {
        return false;
    }
    ++card.counters.events;
    return true;
}

void Chassis::driftOptics() {
    for (auto& card : allCards) {
        for (auto& optics : card.optics) {
            drift(optics, card.random);
        }
        for (auto& onu : card.onus) {
            drift(onu.optics, onu.typical, card.random);
        }
    }
    timers.after(opticsInterval, [this] { driftOptics(); });
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
