#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "../ChassisFixture.h"
#include "sim/faults/DatagramPath.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {

inline constexpr Endpoint kCard{0x7F000103, 14113};
inline constexpr Endpoint kDaemon{0x7F000001, 14113};
inline constexpr int kSlot = 3;

/// Get OLT NVS Enabled with ctag 7, and its answer.
inline const std::string kRequest =
    "012d"
    "0007"
    "0000";
inline const std::string kAnswer =
    "012d"
    "0007"
    "0004"
    "0000"
    "0100";
/// Report Alarm, number 5.
inline const std::string kEvent =
    "801a"
    "0000"
    "0005"
    "0000"
    "0005"
    "03";

/// Of a datagram that has departed: writing out all of a long one takes long under the sanitizers.
inline constexpr std::size_t kShownBytes = 256;

/// The path between sockets and cards, with a clock that only the test moves.
class DatagramPathFixture : public testing::Test {
protected:
    Fault& add(const std::string& kind, const FaultTexts& texts = {}) {
        return faults.add(parseFault(kind, texts));
    }

    /// The card sends a datagram.
    bool send(const std::string& hexDigits, int slot = kSlot) {
        return send(bytesOf(hexDigits), slot);
    }

    bool send(const Bytes& datagram, int slot = kSlot) {
        return path.send(slot, kCard, kDaemon, datagram);
    }

    void receive(const std::string& hexDigits) {
        path.receive(kSlot, kCard, kDaemon, bytesOf(hexDigits));
    }

    void advance(Duration step) {
        now += step;
        timers.runDue();
    }

    /// What the manager gets when the card sends this.
    std::vector<std::string> outcomeOf(const std::string& hexDigits) {
        departed.clear();
        send(hexDigits);
        return departed;
    }

    const JournalEntry& newest() { return *journal.find(journal.lastNumber()); }

    TimePoint now{};
    TimerQueue timers{[this] { return now; }};
    std::uint32_t seed = 1;
    FaultTable faults{seed, timers};
    Journal journal{100, timers};
    std::vector<std::string> arrived;
    /// Of each that has arrived.
    std::vector<bool> pretendedOf;
    /// The first bytes of each.
    std::vector<std::string> departed;
    std::vector<Endpoint> departedFrom;
    std::string_view cardDrops;
    bool systemSends = true;
    DatagramPath path{
        timers, faults, journal,
        [this](int, Endpoint, std::span<const std::uint8_t> datagram, bool pretended) {
            pretendedOf.push_back(pretended);
            arrived.push_back(hexText(datagram));
            return cardDrops;
        },
        [this](Endpoint local, Endpoint, std::span<const std::uint8_t> datagram) {
            departed.push_back(hexText(datagram.first(std::min(datagram.size(), kShownBytes))));
            departedFrom.push_back(local);
            return systemSends;
        }};
};

}  // namespace ponmgr::sim
