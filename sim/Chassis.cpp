#include "sim/Chassis.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "sim/ManagedSettings.h"

namespace ponmgr::sim {

namespace {

Card makeCard(int slot, const ChassisSettings& settings) {
    Card card(slot, {settings.base + static_cast<std::uint32_t>(slot), settings.port});
    card.identity.productCode = settings.productCode;
    card.nvsCurrent = settings.nvsEnabled;
    card.nvsAfterNextBoot = card.nvsCurrent;
    card.random = Random(std::uint64_t{settings.seed} << 8 | static_cast<unsigned>(slot));
    card.onus = makeOnus(slot, settings.onusPerPort, card.random);
    card.drawOptics();
    for (auto& onu : card.onus) {
        onu.random = Random(std::uint64_t{settings.seed} << 32 |
                            static_cast<std::uint32_t>(linkKey(onu.mac)));
    }
    if (settings.configured) {
        bringUnderManagement(card);
    }
    return card;
}

}  // namespace

Chassis::Chassis(const ChassisSettings& settings, TimerQueue& queue, Transmit sender)
    : pace(settings.latency, settings.jitter, settings.seed),
      resetTime(settings.resetTime),
      opticsInterval(settings.opticsInterval),
      productCode(settings.productCode),
      timers(queue),
      transmit(std::move(sender)),
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

bool Chassis::isPortOfTheCards(std::uint16_t port) const {
    return std::ranges::any_of(allCards,
                               [port](const Card& card) { return card.address.port == port; });
}

Chassis::OnuPlace Chassis::findOnu(const OnuAddress& installed) {
    for (auto& card : allCards) {
        if (auto* const onu = card.findOnu(installed)) {
            return {&card, onu};
        }
    }
    return {};
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
    if (!card.present) {
        ++card.counters.unheard;
        return "the slot is empty";
    }
    card.lastPeer = from;
    if (card.isSilent()) {
        ++card.counters.unheard;
        return card.resetting ? "the card is resetting" : "the card is muted";
    }
    return {};
}

std::string_view Chassis::receive(Card& card, Endpoint from, std::span<const std::uint8_t> datagram,
                                  Effect effect) {
    const auto dropped = whyDropped(card, from, datagram);
    if (!dropped.empty()) {
        return dropped;
    }
    const auto request = readRequest(datagram);
    Exchange exchange{card, *request, 0, frame, {}};
    if (effect == Effect::pretended) {
        pretendRequest(exchange);
    } else {
        answerRequest(exchange);
    }
    if (pace.isImmediate()) {
        answer(card, from, card.incarnation, frame.view(), exchange.after);
        return {};
    }
    const auto view = frame.view();
    timers.after(pace.delayFor(card.slot, timers.now()),
                 [this, &card, from, incarnation = card.incarnation,
                  bytes = std::vector(view.begin(), view.end()),
                  after = exchange.after] { answer(card, from, incarnation, bytes, after); });
    return {};
}

void Chassis::answer(Card& card, Endpoint to, std::uint32_t incarnation,
                     std::span<const std::uint8_t> answerFrame, AfterAnswer after) {
    if (card.incarnation != incarnation) {
        ++card.counters.abandoned;
        return;
    }
    if (transmit(card, to, answerFrame)) {
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
            // It may have moved to another card since; there it starts anyway.
            if (after.onu->slot == card.slot) {
                network.resetOnu(card, *after.onu);
            }
            return;
    }
}

bool Chassis::reset(Card& card) {
    if (card.resetting || !card.present) {
        return false;
    }
    card.beginReset();
    startUp(card);
    return true;
}

void Chassis::pull(Card& card) {
    if (card.present) {
        card.loseSlot();
    }
}

void Chassis::insert(Card& card, Storage storage, std::optional<ProductCode> code) {
    if (card.present) {
        return;
    }
    card.identity.productCode = code.value_or(card.identity.productCode);
    if (storage == Storage::factory) {
        card.restoreFactory();
    }
    card.enterSlot();
    startUp(card);
}

void Chassis::swap(Card& card, std::optional<ProductCode> code) {
    pull(card);
    card.replace(code.value_or(productCode));
    card.enterSlot();
    startUp(card);
}

void Chassis::startUp(Card& card) {
    timers.after(resetTime, [this, &card, incarnation = card.incarnation] {
        // A card that was pulled meanwhile doesn't come up.
        if (card.incarnation == incarnation) {
            comeUp(card);
        }
    });
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
    const bool up = card.present && !card.resetting;
    if (!card.lastPeer || !up || !transmit(card, *card.lastPeer, event)) {
        return false;
    }
    ++card.counters.events;
    return true;
}

void Chassis::driftOptics() {
    for (auto& card : allCards) {
        for (std::size_t port = 0; port < card.optics.size(); ++port) {
            drift(card.optics.at(port), card.typicalOptics.at(port), card.random);
        }
        for (auto& onu : card.onus) {
            drift(onu.optics, onu.typical, onu.random);
        }
    }
    timers.after(opticsInterval, [this] { driftOptics(); });
}

}  // namespace ponmgr::sim
