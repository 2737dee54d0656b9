#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "sim/Card.h"
#include "sim/EventFrames.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// The fibres behind the cards: which ONU registers when, which is lost, and the events of both.
/// One thread, that of the timer queue.
class OnuNetwork {
public:
    struct Timing {
        /// From one ONU of a card to the next that registers.
        Duration discoveryInterval;
        /// From an ONU's reset until it can register again.
        Duration onuResetTime;
    };
    /// Sends an event to the card's manager; false when there is none or it couldn't be sent.
    using Emit = std::function<bool(Card& card, std::span<const std::uint8_t> event)>;

    /// The timer queue must outlive the network and run nothing after its end; cards stay in place.
    OnuNetwork(const Timing& timing, TimerQueue& timers, Emit emit);

    /// Those that can register do, one after another in their order, until none is left.
    void registerOnus(Card& card);

    /// The ONU is lost and registers again after its reset time.
    void resetOnu(Card& card, Onu& onu);
    void setPlugged(Card& card, Onu& onu, bool plugged);
    /// An ONU that loses its power says so before it goes.
    void setPowered(Card& card, Onu& onu, bool powered);
    void move(Card& card, Onu& onu, std::uint8_t port);
    /// The ONU is plugged in at another card and starts there; false, with nothing changed, when
    /// that card has no room for another link.
    bool move(Card& from, Onu& onu, Card& to, std::uint8_t port);
    void setFibre(Card& card, std::uint8_t port, bool intact);

    /// False when it couldn't be sent.
    bool report(Card& card, const Alarm& alarm);

private:
    void registerNext(Card& card);
    void lose(Card& card, Onu& onu, std::uint8_t alarmCode);
    void beginRestart(Card& card, Onu& onu);

    Timing timing;
    TimerQueue& timers;
    Emit emit;
    /// The event being written; kept for its memory.
    Writer frame;
};

}  // namespace ponmgr::sim
