#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "sim/Card.h"
#include "sim/CardRequests.h"
#include "sim/OnuNetwork.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// How the cards are when the simulator starts, and how fast they are.
struct ChassisSettings {
    std::vector<int> slots{1, 2, 3, 4, 5, 6, 7, 8};
    /// Slot n has the address `base` + n.
    std::uint32_t base = 0x7F000100;
    std::uint16_t port = 14113;
    Duration latency = std::chrono::milliseconds(2);
    Duration resetTime = std::chrono::seconds(3);
    bool nvsEnabled = true;
    /// The cards start as the manager leaves them: marked, with paths and a domain, NVS off, their
    /// ONUs registered and provisioned.
    bool configured = false;
    std::array<std::uint8_t, 2> productCode{0x37, 0x23};

    unsigned onusPerPort = 16;
    Duration discoveryInterval = std::chrono::milliseconds(5);
    Duration onuResetTime = std::chrono::seconds(5);
    /// From one step of all optical readings to the next; none at zero.
    Duration opticsInterval = std::chrono::seconds(1);
    /// The same seed gives the same ONUs and the same readings.
    std::uint32_t seed = 1;
};

enum class Direction : std::uint8_t { toCard, fromCard };

/// One datagram as it passes a card; the references hold during the call only.
struct DatagramEvent {
    const Card& card;
    Direction direction;
    Endpoint peer;
    std::span<const std::uint8_t> bytes;
    /// Why it goes no further; empty when it does.
    std::string_view dropped;
};

/// The cards and their ONUs, without their sockets: takes datagrams, answers after the latency,
/// carries out resets, sends events. One thread, that of the timer queue.
class Chassis {
public:
    /// Sends `datagram` from the card's address; false when that failed.
    using Transmit =
        std::function<bool(const Card& card, Endpoint to, std::span<const std::uint8_t> datagram)>;
    using Observer = std::function<void(const DatagramEvent&)>;

    /// The timer queue must outlive the chassis, and run nothing after its end.
    Chassis(const ChassisSettings& settings, TimerQueue& timers, Transmit transmit,
            Observer observer = {});
    Chassis(const Chassis&) = delete;
    Chassis& operator=(const Chassis&) = delete;

    /// By ascending slot; the set is fixed, so pointers to its cards stay good.
    std::vector<Card>& cards() { return allCards; }
    /// Null when the slot has no card.
    Card* findCard(int slot);

    /// A datagram has arrived at the card's address. The card acts at once and answers after the
    /// latency.
    void receive(Card& card, Endpoint from, std::span<const std::uint8_t> datagram);

    /// The card falls silent for the reset time and comes back with an OLT Ready event. False when
    /// it is resetting already.
    bool reset(Card& card);

    /// Sends a datagram from the card to whoever spoke to it last. False when nobody has, while the
    /// card is resetting and when the system refuses.
    bool emit(Card& card, std::span<const std::uint8_t> event);

    OnuNetwork& onuNetwork() { return network; }

private:
    bool isOneOfTheCards(Endpoint endpoint) const;
    std::string_view whyDropped(Card& card, Endpoint from, std::span<const std::uint8_t> datagram);
    void answer(Card& card, Endpoint to, std::uint32_t resetsThen,
                std::span<const std::uint8_t> frame, AfterAnswer after);
    void follow(Card& card, AfterAnswer after);
    void comeUp(Card& card);
    void driftOptics();
    bool transmitObserved(const Card& card, Endpoint to, std::span<const std::uint8_t> frame);
    void observe(const DatagramEvent& event) const;

    Duration latency;
    Duration resetTime;
    Duration opticsInterval;
    TimerQueue& timers;
    Transmit transmit;
    Observer observer;
    std::vector<Card> allCards;
    OnuNetwork network;
    /// The frame being written; kept for its memory.
    Writer frame;
};

}  // namespace ponmgr::sim
