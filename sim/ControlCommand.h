#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "sim/ControlJson.h"
#include "sim/Options.h"

namespace ponmgr::sim {

using Words = std::vector<std::string>;

struct ControlCommand;

/// How long any reply may take beyond the time that the command itself may wait.
inline constexpr auto kControlPatience = std::chrono::seconds(10);

/// A command as it was understood: what to ask, and how to show the reply to a person.
struct ControlCommand {
    Json request;
    std::string (*print)(const Json& reply);
    Duration patience = kControlPatience;
    /// Carries it out in a way of its own; null for one request and one reply.
    Finished (*run)(const ControlCommand& command, const ControlOptions& options) = nullptr;
};

/// Throws UsageError that names the options that were given and that aren't `taken`.
void requireNoOptions(const ControlOptions& options, const std::vector<std::string>& taken);

/// faults/FaultCommands.cpp and journal/JournalCommands.cpp. Both throw UsageError.
ControlCommand faultCommand(const ControlOptions& options);
ControlCommand journalCommand(const ControlOptions& options);

/// What the words of `chassis-sim ctl` ask for. Throws UsageError that says what there is.
ControlCommand controlCommand(const ControlOptions& options);

/// Throws UsageError that shows `usage` unless there are `count` words.
void requireCount(const Words& words, std::size_t count, const std::string& usage);

/// " VALUE", as often as `count` says.
std::string valuesUsage(std::size_t count);

/// CardCommands.cpp: the commands about one card. All of these throw UsageError.
ControlCommand cardCommand(const ControlOptions& options);

/// ReportCommands.cpp: what ought to be, and how a scenario goes.
ControlCommand truthCommand(const ControlOptions& options);
ControlCommand scenarioCommand(const ControlOptions& options);

/// OnuCommands.cpp: the commands about ONUs and events.
ControlCommand onuCommand(const ControlOptions& options);
ControlCommand alarmCommand(const ControlOptions& options);
ControlCommand eventCommand(const ControlOptions& options);

}  // namespace ponmgr::sim
