#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "sim/TimerQueue.h"
#include "sim/faults/FaultTable.h"
#include "sim/faults/Treatment.h"
#include "sim/journal/Journal.h"

namespace ponmgr::sim {

/// The way between the cards and their sockets. Every datagram is hit by the faults that concern it
/// and is written down in the journal.
///
/// Faults hit a datagram in the order of their ids, and each takes it as the one before has left
/// it; which datagrams a fault concerns is decided by what they were before. A drop ends it. Copies
/// and delays add up: all copies go together, after all delays; then reorder holds them back.
class DatagramPath {
public:
    /// A card takes a datagram; when pretended, it only says that it has done what is asked.
    /// Returns why it has dropped the datagram, a text that lives for ever, or nothing.
    using Arrive = std::function<std::string_view(
        int slot, Endpoint from, std::span<const std::uint8_t> datagram, bool pretended)>;
    /// Sends a datagram from a card's end; false when the system refuses.
    using Depart =
        std::function<bool(Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram)>;

    /// The most that faults may delay at a time, copies included; what comes on top is dropped.
    static constexpr std::size_t kMostWaiting = 20'000;
    /// The most bytes that these may have; copies of one datagram share theirs.
    static constexpr std::size_t kMostWaitingBytes = std::size_t{16} * 1024 * 1024;

    /// All three must outlive it; the timer queue runs nothing after its end.
    DatagramPath(TimerQueue& timers, FaultTable& faults, Journal& journal, Arrive arrive,
                 Depart depart);
    DatagramPath(const DatagramPath&) = delete;
    DatagramPath& operator=(const DatagramPath&) = delete;

    /// A datagram has come to the card's socket.
    void receive(int slot, Endpoint local, Endpoint from, std::span<const std::uint8_t> datagram);

    /// The card sends a datagram. False when the system refuses it; one that a fault keeps back or
    /// drops is sent as far as the card knows.
    bool send(int slot, Endpoint local, Endpoint to, std::span<const std::uint8_t> datagram);

    /// A fault sends a datagram of its own, which no other fault hits.
    bool sendOfFault(std::uint32_t fault, int slot, Endpoint local, Endpoint to,
                     std::span<const std::uint8_t> datagram);

    /// What the card sends during `action` is due to the fault.
    bool onBehalfOf(std::uint32_t fault, const std::function<bool()>& action);

private:
    /// One datagram on its way, with all that is known of it.
    struct Parcel {
        int slot = 0;
        Direction direction = Direction::toCard;
        Endpoint local;
        Endpoint peer;
        /// Behind the faults.
        std::vector<std::uint8_t> bytes;
        /// Before them; only of the card's, and only when it has changed.
        std::optional<std::vector<std::uint8_t>> original;
        std::vector<std::uint32_t> faults;
        std::uint32_t copies = 0;
        /// In the journal, of one to the card.
        std::uint64_t number = 0;
        bool pretended = false;

        std::size_t size() const { return bytes.size() + (original ? original->size() : 0); }
    };

    struct Held {
        Parcel parcel;
        TimerQueue::Timer limit;
    };

    bool isPlain() const { return faults.all().empty() && held.empty() && origin == 0; }
    Treatment treat(int slot, Direction direction, Endpoint local,
                    std::span<const std::uint8_t> bytes);
    bool isHolding(int slot, Direction direction) const;
    bool forward(Parcel parcel, const Treatment& treatment);
    void dropOneTooMany(const Parcel& parcel);
    /// Of a datagram from the card; its views are of the parcel.
    static Passage passageOf(const Parcel& parcel);
    void hold(Parcel parcel, Duration limit);
    bool deliver(const Parcel& parcel);
    bool deliverOne(const Parcel& parcel);
    void release(int slot, Direction direction);
    void arriveAt(int slot, Endpoint from, std::uint64_t number,
                  std::span<const std::uint8_t> bytes, bool pretended);
    bool departFrom(const Passage& passage);

    TimerQueue& timers;
    FaultTable& faults;
    Journal& journal;
    Arrive arrive;
    Depart depart;
    /// Those that wait for the next of the same card and direction, one of each at most.
    std::list<Held> held;
    /// Those whose delay isn't over, copies included.
    std::size_t delayedCount = 0;
    std::size_t delayedBytes = 0;
    /// The fault on whose behalf cards send; 0 when there is none.
    std::uint32_t origin = 0;
};

}  // namespace ponmgr::sim
