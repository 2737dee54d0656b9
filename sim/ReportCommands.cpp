// What `ctl truth` and `ctl scenario` ask for.

#include <nlohmann/json.hpp>

#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

std::string stepText(const Json& step) {
    const auto& result = step.at("result");
    return "line " + step.at("line").dump() + ": " + step.at("what").get<std::string>() +
           (step.at("ok").get<bool>() ? ": " : ": FAILED: ") + result.get<std::string>() + '\n';
}

std::string printScenario(const Json& reply) {
    const auto state = reply.at("state").get<std::string>();
    if (state == "none") {
        return "no scenario\n";
    }
    std::string text = reply.at("scenario").get<std::string>() + ": " + state + ", step " +
                       reply.at("done").dump() + " of " + reply.at("steps").dump() + ", " +
                       reply.at("failed").dump() + " failed\n";
    for (const auto& step : reply.at("results")) {
        text += stepText(step);
    }
    return text;
}

}  // namespace

ControlCommand truthCommand(const ControlOptions& options) {
    requireCount(options.words, 1, "truth");
    return {{{"verb", "truth"}}, printTruth};
}

ControlCommand scenarioCommand(const ControlOptions& options) {
    requireCount(options.words, 2, "scenario status");
    if (options.words[1] != "status") {
        throw UsageError("unknown word '" + options.words[1] + "'; there is: status");
    }
    return {{{"verb", "scenario"}}, printScenario};
}

}  // namespace ponmgr::sim
