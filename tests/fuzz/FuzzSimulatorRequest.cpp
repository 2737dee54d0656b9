// The simulator's request door: datagrams and time steps at a chassis of three cards.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Require.h"
#include "sim/Chassis.h"

using ponmgr::fuzz::require;
using namespace ponmgr::sim;

namespace {

constexpr std::size_t kLongestDatagram = 512;
constexpr std::size_t kMostSteps = 64;
constexpr std::uint32_t kManager = 0x7F000001;

std::uint16_t read16(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

/// What leaves a card is a frame whose length field counts all that follows it.
bool checkFrame(std::span<const std::uint8_t> frame) {
    require(frame.size() >= 8, "an answer has a whole header");
    require(frame.size() <= 65507, "an answer fits a datagram");
    require(read16(frame, 4) == frame.size() - 6, "the length field counts what follows it");
    return true;
}

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
    TimePoint now{};
    TimerQueue timers([&now] { return now; });
    Chassis chassis(settings(input), timers,
                    [](const Card&, Endpoint, std::span<const std::uint8_t> frame) {
                        return checkFrame(frame);
                    });
    for (std::size_t i = 0; i < kMostSteps && input.remaining_bytes() > 0; i++) {
        Card& card = chassis.cards()[input.ConsumeIntegralInRange<std::size_t>(0, 2)];
        const auto datagram = readDatagram(input);
        chassis.receive(card, Endpoint{kManager, 14113}, datagram);
        now += std::chrono::milliseconds(input.ConsumeIntegralInRange<int>(0, 8000));
        timers.runDue();
    }
    return 0;
}
