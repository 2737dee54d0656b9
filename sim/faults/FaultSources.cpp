#include "sim/faults/FaultSources.h"

#include <algorithm>
#include <vector>

namespace ponmgr::sim {

namespace {

constexpr std::uint32_t kUsualRate = 10;
constexpr std::uint32_t kUsualSize = 64;
constexpr std::uint8_t kLossOfSignal = 0x11;

Alarm alarmOf(const FaultSettings& settings, const Card& card) {
    Alarm alarm;
    alarm.tag = EntityTag::oltPort;
    alarm.mac = card.identity.mac;
    alarm.code = settings.alarm.value_or(kLossOfSignal);
    if (settings.target) {
        alarm.tag = settings.target->tag;
        alarm.port = settings.target->port;
    }
    return alarm;
}

}  // namespace

bool sendAlarm(Fault& fault, const SourceTurn& turn) {
    // Before it takes a number for an event that nobody gets.
    if (!turn.card.lastPeer || turn.card.resetting || !turn.card.present) {
        return false;
    }
    auto alarm = alarmOf(fault.settings(), turn.card);
    alarm.raised = turn.sent % 2 == 0;
    if (alarm.tag != EntityTag::oltPort) {
        const auto* const onu = turn.card.findOnu(fault.settings().target->onu);
        if (onu == nullptr) {
            return false;
        }
        alarm.mac = onu->mac;
    }
    return turn.path.onBehalfOf(fault.id(),
                                [&] { return turn.chassis.onuNetwork().report(turn.card, alarm); });
}

Endpoint garbageEndpoint(const FaultSettings& settings, const Card& card) {
    auto endpoint = card.address;
    if (settings.stranger) {
        // The address that all slots count from is none of a card's.
        endpoint.address -= static_cast<std::uint32_t>(card.slot);
    }
    return endpoint;
}

bool sendGarbage(Fault& fault, const SourceTurn& turn) {
    // A stranger doesn't care whether there is a card.
    const bool isThere = turn.card.present || fault.settings().stranger;
    if (!turn.card.lastPeer || !isThere) {
        return false;
    }
    const auto most = fault.settings().size.value_or(kUsualSize);
    const int slot = turn.card.slot;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(fault.choose(slot, 1, most)));
    std::ranges::generate(
        bytes, [&] { return static_cast<std::uint8_t>(fault.choose(slot, 0, UINT8_MAX)); });
    return turn.path.sendOfFault(fault.id(), turn.card.slot,
                                 garbageEndpoint(fault.settings(), turn.card), *turn.card.lastPeer,
                                 bytes);
}

void FaultSources::start(const Fault& fault) {
    schedule(fault, 0);
}

void FaultSources::schedule(const Fault& fault, std::uint64_t turn) {
    // From its beginning, so that a late turn doesn't make the next ones late.
    const auto rate = fault.settings().rate.value_or(kUsualRate);
    const auto due = fault.begins() + std::chrono::nanoseconds(turn * 1'000'000'000 / rate);
    timers.after(std::max(due - timers.now(), Duration::zero()),
                 [this, id = fault.id(), turn] { take(id, turn); });
}

void FaultSources::take(std::uint32_t id, std::uint64_t turn) {
    auto* const fault = faults.find(id);
    if (fault == nullptr || fault->state(timers.now()) == Fault::State::ended) {
        forget(id);
        return;
    }
    for (auto& card : chassis.cards()) {
        sendFrom(card, *fault);
    }
    schedule(*fault, turn + 1);
}

void FaultSources::sendFrom(Card& card, Fault& fault) {
    const auto& settings = fault.settings();
    const bool concerned = !settings.slot || *settings.slot == card.slot;
    // One of the cards before may have been the last that it sends from.
    if (concerned && fault.state(timers.now()) == Fault::State::active) {
        auto& before = sent[{fault.id(), card.slot}];
        const bool hit =
            fault.strikes(card.slot) && settings.kind->send(fault, {chassis, path, card, before});
        before += hit ? 1U : 0U;
        fault.count(hit);
    }
}

void FaultSources::forget(std::uint32_t id) {
    std::erase_if(sent, [id](const auto& entry) { return entry.first.first == id; });
}

}  // namespace ponmgr::sim
