#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "sim/ControlJson.h"
#include "sim/Options.h"

namespace ponmgr::sim {

using Words = std::vector<std::string>;

/// How long any reply may take beyond the time that the command itself may wait.
inline constexpr auto kControlPatience = std::chrono::seconds(10);

/// A command as it was understood: what to ask, and how to show the reply to a person.
struct ControlCommand {
    Json request;
    std::string (*print)(const Json& reply);
    Duration patience = kControlPatience;
};

/// Throws UsageError that shows `usage` unless there are `count` words.
void requireCount(const Words& words, std::size_t count, const std::string& usage);

/// " VALUE", as often as `count` says.
std::string valuesUsage(std::size_t count);

/// OnuCommands.cpp: the commands about ONUs and events. All throw UsageError.
ControlCommand onuCommand(const ControlOptions& options);
ControlCommand alarmCommand(const ControlOptions& options);
ControlCommand eventCommand(const ControlOptions& options);

}  // namespace ponmgr::sim
