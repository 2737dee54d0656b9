#pragma once

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <string>
#include <vector>

#include "sim/Chassis.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// One thing that a scenario does.
struct ScenarioStep {
    /// In the file, from 1.
    int line = 0;
    /// From the beginning of its phase, at the file's own speed.
    Duration at{};
    /// Waits until the chassis is in service; the times of the steps behind it count from then on.
    bool beginsPhase = false;
    /// As a person reads it.
    std::string text;
    /// What the control socket would be asked; null for a note, which is shown and nothing else.
    Json request;
    std::string (*print)(const Json& reply) = nullptr;
};

/// Commands with their times.
struct Scenario {
    std::string name;
    std::vector<ScenarioStep> steps;
};

/// Reads lines of JSON. `settings` say which cards and ONUs there are. Throws UsageError, whose
/// text begins with the name and the line's number and says what is allowed.
Scenario parseScenario(std::istream& input, const std::string& name,
                       const ChassisSettings& settings);

/// The same for a file. Throws UsageError when it can't be read.
Scenario readScenario(const std::string& path, const ChassisSettings& settings);

}  // namespace ponmgr::sim
