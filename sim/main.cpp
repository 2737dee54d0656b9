#include <cstdio>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "sim/ControlCommands.h"
#include "sim/OptionValues.h"
#include "sim/Options.h"
#include "sim/PrintedResult.h"
#include "sim/Scenario.h"
#include "sim/ScenarioPlayer.h"
#include "sim/Simulator.h"

namespace {

using namespace ponmgr::sim;

int show(const Finished& finished) {
    return printResult(finished, std::cout, std::cerr);
}

/// Until a signal comes, or the scenario has ended and is to end the simulator.
int runWithScenario(Simulator& simulator, const ServeOptions& options, Scenario scenario) {
    ScenarioPlayer player(std::move(scenario), options.scenario.speed,
                          simulator.eventLoop().timers(), simulator.controlVerbs(),
                          [&](const std::string& line) { simulator.show(line); });
    simulator.controlVerbs().setScenarioReport([&player] { return player.status(); });
    player.start([&] {
        if (options.scenario.exit) {
            simulator.eventLoop().stop();
        }
    });
    simulator.run();
    simulator.controlVerbs().setScenarioReport({});
    return options.scenario.exit && player.failures() > 0 ? kExitFailed : kExitOk;
}

int serve(const ServeOptions& options) {
    std::optional<Scenario> scenario;
    if (!options.scenario.file.empty()) {
        scenario = readScenario(options.scenario.file, options.chassis);
    }
    prepareSignals();
    Simulator simulator(options);
    simulator.show(simulator.readyLine());
    if (scenario) {
        return runWithScenario(simulator, options, std::move(*scenario));
    }
    simulator.run();
    return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
    // Whoever reads the output through a pipe sees every line when it is written.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try {
        const auto commandLine = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
        if (const auto* finished = std::get_if<Finished>(&commandLine)) {
            return show(*finished);
        }
        if (const auto* control = std::get_if<ControlOptions>(&commandLine)) {
            return show(runControlCommand(*control));
        }
        return serve(std::get<ServeOptions>(commandLine));
    } catch (const UsageError& error) {
        return show(failure(kExitUsage, error.what(), false));
    } catch (const std::exception& error) {
        return show(failure(kExitFailed, error.what(), false));
    }
}
