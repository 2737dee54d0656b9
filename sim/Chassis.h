#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "sim/AnswerPace.h"
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
    /// An answer takes longer than the latency, by up to this much.
    Duration jitter{};
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

/// The cards and their ONUs, without their sockets: takes datagrams, answers after the latency,
/// carries out resets, sends events. One thread, that of the timer queue.
class Chassis {
public:
    /// Sends `datagram` from the card's address; false when that failed.
    using Transmit =
        std::function<bool(const Card& card, Endpoint to, std::span<const std::uint8_t> datagram)>;

    /// The timer queue must outlive the chassis, and run nothing after its end.
    Chassis(const ChassisSettings& settings, TimerQueue& timers, Transmit transmit);
    Chassis(const Chassis&) = delete;
    Chassis& operator=(const Chassis&) = delete;

    /// By ascending slot; the set is fixed, so pointers to its cards stay good.
    std::vector<Card>& cards() { return allCards; }
    /// Null when the slot has no card.
    Card* findCard(int slot);

    /// The UDP port of one of the cards; all have the same.
    bool isPortOfTheCards(std::uint16_t port) const;

    /// An ONU and the card that it hangs at now.
    struct OnuPlace {
        Card* card = nullptr;
        Onu* onu = nullptr;
    };
    /// The ONU with this name, wherever it hangs; null pointers when there is none.
    OnuPlace findOnu(const OnuAddress& installed);

    /// What a card makes of a request: pretended, it only says that it has carried it out.
    enum class Effect : std::uint8_t { carriedOut, pretended };

    /// A datagram has arrived at the card's address. The card acts at once and answers after the
    /// latency. Returns why it has dropped the datagram, a text that lives for ever, or nothing.
    std::string_view receive(Card& card, Endpoint from, std::span<const std::uint8_t> datagram,
                             Effect effect = Effect::carriedOut);

    /// The card falls silent for the reset time and comes back with an OLT Ready event. False when
    /// it is resetting already, and when the slot is empty.
    bool reset(Card& card);

    /// What a card that is plugged in finds in its non-volatile storage.
    enum class Storage : std::uint8_t { asItWas, factory };
    using ProductCode = std::array<std::uint8_t, 2>;

    /// The card leaves its slot: from now on nothing answers at its address, and its ONUs have no
    /// service. Nothing happens when the slot is empty.
    void pull(Card& card);
    /// The card that was pulled is plugged in again and starts up as after a reset; with another
    /// product code when one is given. Nothing happens when the slot isn't empty.
    void insert(Card& card, Storage storage, std::optional<ProductCode> productCode);
    /// Another card takes the place of the one in the slot, if there is one: another MAC, as the
    /// factory made it, without a product code that of all cards. It starts up.
    void swap(Card& card, std::optional<ProductCode> productCode);

    /// Sends a datagram from the card to whoever spoke to it last. False when nobody has, while the
    /// card is resetting and when the system refuses.
    bool emit(Card& card, std::span<const std::uint8_t> event);

    OnuNetwork& onuNetwork() { return network; }

private:
    bool isOneOfTheCards(Endpoint endpoint) const;
    std::string_view whyDropped(Card& card, Endpoint from, std::span<const std::uint8_t> datagram);
    void answer(Card& card, Endpoint to, std::uint32_t incarnation,
                std::span<const std::uint8_t> frame, AfterAnswer after);
    void follow(Card& card, AfterAnswer after);
    void startUp(Card& card);
    void comeUp(Card& card);
    void driftOptics();

    AnswerPace pace;
    Duration resetTime;
    Duration opticsInterval;
    ProductCode productCode;
    TimerQueue& timers;
    Transmit transmit;
    std::vector<Card> allCards;
    OnuNetwork network;
    /// The frame being written; kept for its memory.
    Writer frame;
};

}  // namespace ponmgr::sim
