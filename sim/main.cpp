#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <variant>
#include <vector>

#include "sim/ControlCommands.h"
#include "sim/Options.h"
#include "sim/Simulator.h"

namespace {

using namespace ponmgr::sim;

int show(const Finished& finished) {
    std::cout << finished.output << std::flush;
    std::cerr << finished.errorOutput;
    return finished.status;
}

int serve(const ServeOptions& options) {
    prepareSignals();
    Simulator simulator(options);
    std::cout << simulator.readyLine() << std::endl;
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
    } catch (const std::exception& error) {
        return show(failure(kExitFailed, error.what(), false));
    }
}
