#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "sim/EntityAddress.h"
#include "sim/TimerQueue.h"
#include "sim/faults/FaultKind.h"

namespace ponmgr::sim {

/// A fault's options as they are written, by their name without dashes.
using FaultTexts = std::map<std::string, std::string>;

/// A fault as it was asked for.
struct FaultSettings {
    const FaultKind* kind = nullptr;
    FaultTexts texts;

    /// What it can hit: every card and every message when not said.
    std::optional<int> slot;
    std::optional<std::uint16_t> messageId;
    bool toCard = false;
    bool fromCard = true;
    /// From when it was added until it begins, and how long it lasts then; for ever when not said.
    Duration start{};
    std::optional<Duration> duration;
    /// The most datagrams that it hits, or sends.
    std::optional<std::uint32_t> count;
    double probability = 1;

    // The kinds' own; what isn't said is up to the kind.
    std::optional<Duration> time;
    std::optional<Duration> limit;
    std::optional<std::uint32_t> copies;
    std::optional<std::uint32_t> bytes;
    std::optional<std::uint32_t> to;
    std::optional<std::uint32_t> bit;
    std::optional<std::uint16_t> id;
    std::optional<std::uint16_t> length;
    std::optional<std::uint16_t> code;
    std::optional<std::uint32_t> rate;
    std::optional<std::uint8_t> alarm;
    std::optional<AlarmSubject> target;
    std::optional<std::uint16_t> port;
    std::optional<std::uint32_t> size;
    bool stranger = false;
};

}  // namespace ponmgr::sim
