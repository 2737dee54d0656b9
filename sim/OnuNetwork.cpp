#include "sim/OnuNetwork.h"

#include <algorithm>
#include <utility>

#include "sim/AlarmNames.h"
#include "sim/LinkProvisioning.h"
#include "sim/OnuMove.h"

namespace ponmgr::sim {

namespace {

/// The next that isn't registered and can be; null when there is none.
Onu* nextToRegister(Card& card) {
    const auto found = std::ranges::find_if(card.onus, [&](const Onu& onu) {
        return !onu.discovered && !onu.restarting && card.reaches(onu);
    });
    const bool open = card.configuration.enabled && !card.resetting;
    return open && found != card.onus.end() ? &*found : nullptr;
}

}  // namespace

OnuNetwork::OnuNetwork(const Timing& times, TimerQueue& queue, Emit sender)
    : timing(times), timers(queue), emit(std::move(sender)) {}

void OnuNetwork::registerOnus(Card& card) {
    if (card.registering || nextToRegister(card) == nullptr) {
        return;
    }
    card.registering = true;
    timers.after(timing.discoveryInterval, [this, &card] { registerNext(card); });
}

void OnuNetwork::registerNext(Card& card) {
    card.registering = false;
    auto* const onu = nextToRegister(card);
    if (onu == nullptr) {
        return;
    }
    onu->discovered = true;
    writeLinkDiscovery(frame, card.nextSequence(), *onu);
    emit(card, frame.view());
    registerOnus(card);
}

bool OnuNetwork::report(Card& card, const Alarm& alarm) {
    writeReportAlarm(frame, card.nextSequence(), alarm);
    return emit(card, frame.view());
}

void OnuNetwork::lose(Card& card, Onu& onu, std::uint8_t alarmCode) {
    if (onu.discovered) {
        onu.discovered = false;
        report(card, {EntityTag::onuLink, onu.mac, 0, alarmCode, true});
    }
}

void OnuNetwork::resetOnu(Card& card, Onu& onu) {
    // Requests that crossed the first one find it restarting; they change nothing.
    if (onu.restarting) {
        return;
    }
    lose(card, onu, kReportTimeout);
    beginRestart(card, onu);
}

void OnuNetwork::beginRestart(Card& card, Onu& onu) {
    onu.restarting = true;
    forgetAtRestart(card.configuration, onu);
    timers.after(timing.onuResetTime, [this, &card, &onu, begun = ++onu.restarts] {
        if (onu.restarts == begun) {
            onu.restarting = false;
            registerOnus(card);
        }
    });
}

void OnuNetwork::setPlugged(Card& card, Onu& onu, bool plugged) {
    onu.plugged = plugged;
    if (plugged) {
        registerOnus(card);
    } else {
        lose(card, onu, kReportTimeout);
    }
}

void OnuNetwork::setPowered(Card& card, Onu& onu, bool powered) {
    onu.powered = powered;
    if (powered) {
        registerOnus(card);
    } else {
        lose(card, onu, kStandardDyingGasp);
        forgetAtRestart(card.configuration, onu);
    }
}

void OnuNetwork::move(Card& card, Onu& onu, std::uint8_t port) {
    const auto from = std::exchange(onu.port, port);
    if (from == port) {
        return;
    }
    if (!card.reaches(onu)) {
        lose(card, onu, kReportTimeout);
    } else if (onu.discovered) {
        writeLinkMoved(frame, card.nextSequence(), onu.mac, from, port);
        emit(card, frame.view());
    } else {
        registerOnus(card);
    }
}

bool OnuNetwork::move(Card& from, Onu& onu, Card& to, std::uint8_t port) {
    if (!hasRoomFor(to, onu)) {
        return false;
    }
    lose(from, onu, kReportTimeout);
    forgetAtRestart(from.configuration, onu);
    handOver(from, onu, to, port);
    beginRestart(to, onu);
    return true;
}

void OnuNetwork::setFibre(Card& card, std::uint8_t port, bool intact) {
    card.fibreIntact.at(port) = intact;
    if (intact) {
        registerOnus(card);
        return;
    }
    for (auto& onu : card.onus) {
        if (onu.port == port) {
            lose(card, onu, kReportTimeout);
        }
    }
}

}  // namespace ponmgr::sim
