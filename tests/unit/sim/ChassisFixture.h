#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/Chassis.h"

namespace ponmgr::sim {

using Bytes = std::vector<std::uint8_t>;

/// The digits alone; blanks are for the reader.
std::string hex(const std::string& digitsAndBlanks);

/// "00 07 0a" -> the bytes.
Bytes bytesOf(const std::string& hex);

/// `count` bytes 00, as hex.
std::string zeros(std::size_t count);

/// The MAC of the card in slot 1, as hex.
inline const std::string kMac = "000db6000001";

/// A chassis with a clock that only the test moves, whose datagrams land in a list.
class ChassisFixture : public testing::Test {
protected:
    struct Sent {
        int slot;
        Endpoint to;
        std::string hex;
    };

    ChassisFixture();

    /// Makes the chassis anew from `settings`: by default with cards that have no ONU and readings
    /// that don't change.
    void build();
    Card& card(int slot = 1);
    /// The ONU of slot 1; it must exist.
    Onu& onu(std::uint8_t port, std::uint8_t index);
    /// Makes the chassis anew with `perPort` ONUs at each port, and registers them all.
    void buildWithOnus(unsigned perPort);

    /// Delivers a datagram, given as hex, to the card in slot 1 and lets the latency pass.
    void deliver(const std::string& hex);
    /// Builds the request's frame with ctag 1, delivers it and returns the answer as hex; "" when
    /// there is none.
    std::string ask(std::uint16_t id, const std::string& payloadHex = "");
    /// The result field of the answer to a request; -1 when there is none.
    int resultOf(std::uint16_t id, const std::string& payloadHex = "");

    /// What the cards have sent since the last call, as hex.
    std::vector<std::string> takeSent();

    /// Moves the clock and runs what is due.
    void advance(Duration step);

    static constexpr Endpoint kManager{0x7F000001, 14113};

    ChassisSettings settings;
    TimePoint now{};
    TimerQueue timers{[this] { return now; }};
    std::unique_ptr<Chassis> chassis;
    std::vector<Sent> sent;
    bool transmitSucceeds = true;
};

}  // namespace ponmgr::sim
