#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "sim/ControlJson.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// One line of a scenario, before it is known what its command means.
struct ScenarioLine {
    std::optional<Duration> at;
    /// The chassis must be in service first, and how long that may take.
    bool afterInService = false;
    Duration timeout = std::chrono::minutes(10);
    std::string note;
    /// The words of "ctl"; empty without.
    std::vector<std::string> words;
    /// "ctl" as it was written.
    std::string command;
    /// The members that make a control request; null without a "verb".
    Json request;
};

/// Throws UsageError that says what is allowed.
ScenarioLine parseScenarioLine(const std::string& text);

/// "alarm 3/0 \"Loss of Signal\" raise" -> alarm, 3/0, Loss of Signal, raise. Throws UsageError
/// when a quote isn't closed.
std::vector<std::string> splitWords(const std::string& text);

}  // namespace ponmgr::sim
