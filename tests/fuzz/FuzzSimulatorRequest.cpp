// The simulator's request door: datagrams and time steps at a chassis of three cards.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "Require.h"
#include "sim/CardRequests.h"
#include "sim/Chassis.h"

using ponmgr::fuzz::require;
using namespace ponmgr::sim;

namespace {

constexpr std::size_t kLongestDatagram = 512;
constexpr std::size_t kMostSteps = 64;
constexpr Endpoint kManager{0x7F000001, 14113};
constexpr std::chrono::seconds kLongestAnswer{1};

std::uint16_t read16(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

/// A request that a card has taken and not answered yet.
struct Taken {
    std::uint16_t id = 0;
    std::uint16_t ctag = 0;
    bool operator==(const Taken&) const = default;
};

/// A chassis of three cards before one manager, and the book of what they owe him.
class FuzzedChassis {
public:
    explicit FuzzedChassis(const ChassisSettings& settings)
        : timers([this] { return now; }),
          chassis(settings, timers,
                  [this](const Card& card, Endpoint to, std::span<const std::uint8_t> frame) {
                      checkFrame(card, to, frame);
                      return true;
                  }) {}

    void receive(std::size_t index, std::span<const std::uint8_t> datagram) {
        Card& card = chassis.cards()[index];
        const auto before = asksOnly(datagram) ? std::optional(card) : std::nullopt;
        if (!chassis.receive(card, kManager, datagram).empty()) {
            return;
        }
        owed[card.slot].push_back({read16(datagram, 0), read16(datagram, 2)});
        require(card.lastPeer == kManager, "a card notes who has spoken to it");
        if (before) {
            requireUnchanged(*before, card);
        }
    }

    void pass(std::chrono::milliseconds time) {
        now += time;
        timers.runDue();
    }

    /// What isn't answered now was lost by a card that was reset.
    void requireNothingOwed() {
        for (const auto& card : chassis.cards()) {
            require(owed[card.slot].size() == card.counters.abandoned,
                    "every request is answered unless the card was reset");
        }
    }

private:
    /// Or isn't known to the card.
    static bool asksOnly(std::span<const std::uint8_t> datagram) {
        const auto request = readRequest(datagram);
        return request && !isSetting(request->id);
    }

    static void requireUnchanged(Card before, const Card& card) {
        before.lastPeer = card.lastPeer;
        before.counters = card.counters;
        require(before == card, "a question leaves a card as it was");
    }

    /// What leaves a card is a frame whose length field counts all that follows it: an event, or
    /// the one answer to a request.
    void checkFrame(const Card& card, Endpoint to, std::span<const std::uint8_t> frame) {
        require(frame.size() >= kAnswerHeaderSize, "an answer has a whole header");
        require(frame.size() <= 65507, "an answer fits a datagram");
        require(read16(frame, 4) == frame.size() - 6, "the length field counts what follows it");
        require(to == kManager, "a card speaks to who spoke to it");
        const Taken answered{read16(frame, 0), read16(frame, 2)};
        if (answered.id >= kFirstEventId) {
            return;
        }
        auto& requests = owed[card.slot];
        const auto request = std::ranges::find(requests, answered);
        require(request != requests.end(), "an answer has the id and the tag of a request");
        requests.erase(request);
    }

    TimePoint now{};
    TimerQueue timers;
    std::map<int, std::vector<Taken>> owed;
    Chassis chassis;
};

ChassisSettings settings(FuzzedDataProvider& input) {
    ChassisSettings chassis;
    chassis.slots = {1, 2, 5};
    chassis.onusPerPort = input.ConsumeIntegralInRange<unsigned>(0, 3);
    chassis.configured = input.ConsumeBool();
    return chassis;
}

/// Any bytes, or a frame whose length field is right.
std::vector<std::uint8_t> readDatagram(FuzzedDataProvider& input) {
    auto datagram = input.ConsumeBytes<std::uint8_t>(
        input.ConsumeIntegralInRange<std::size_t>(0, kLongestDatagram));
    if (datagram.size() >= 6 && input.ConsumeBool()) {
        const std::size_t length = datagram.size() - 6;
        datagram[4] = static_cast<std::uint8_t>(length >> 8);
        datagram[5] = static_cast<std::uint8_t>(length);
    }
    return datagram;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    FuzzedChassis chassis(settings(input));
    for (std::size_t i = 0; i < kMostSteps && input.remaining_bytes() > 0; i++) {
        const auto card = input.ConsumeIntegralInRange<std::size_t>(0, 2);
        chassis.receive(card, readDatagram(input));
        chassis.pass(std::chrono::milliseconds(input.ConsumeIntegralInRange<int>(0, 8000)));
    }
    chassis.pass(kLongestAnswer);
    chassis.requireNothingOwed();
    return 0;
}
