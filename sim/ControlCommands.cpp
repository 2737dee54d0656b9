#include "sim/ControlCommands.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

#include "sim/ControlClient.h"
#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

std::string printWait(const Json& reply) {
    return "in service: " + std::to_string(reply.at("in_service").size()) + " cards\n";
}

ControlCommand listCommand(const ControlOptions& options) {
    requireCount(options.words, 1, "list");
    return {{{"verb", "list"}}, printCards};
}

ControlCommand waitCommand(const ControlOptions& options) {
    requireCount(options.words, 2, "wait in-service [--timeout TIME]");
    if (options.words[1] != "in-service") {
        throw UsageError("can't wait for '" + options.words[1] + "'; there is: in-service");
    }
    const auto timeout = std::chrono::ceil<std::chrono::milliseconds>(options.timeout);
    return {{{"verb", "wait"}, {"for", "in-service"}, {"timeout_ms", timeout.count()}},
            printWait,
            timeout + kControlPatience};
}

struct CommandEntry {
    const char* name;
    ControlCommand (*build)(const ControlOptions& options);
    /// It says itself which options it takes.
    bool takesOptions = false;
};

constexpr CommandEntry kCommands[] = {
    {"list", listCommand},         {"card", cardCommand, true},
    {"wait", waitCommand},         {"onu", onuCommand},
    {"alarm", alarmCommand},       {"event", eventCommand},
    {"truth", truthCommand},       {"scenario", scenarioCommand},
    {"fault", faultCommand, true}, {"journal", journalCommand, true},
};

Finished perform(const ControlCommand& command, const ControlOptions& options) {
    ControlClient client(options.controlPath);
    const auto reply = client.request(command.request, command.patience);
    const auto error = reply.find("error");
    const bool failed = error != reply.end();
    if (options.json) {
        return {failed ? kExitFailed : kExitOk,
                reply.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n', ""};
    }
    if (failed) {
        return failure(kExitFailed, error->is_string() ? error->get<std::string>() : error->dump(),
                       false);
    }
    return {kExitOk, command.print(reply), ""};
}

}  // namespace

ControlCommand controlCommand(const ControlOptions& options) {
    if (options.words.empty()) {
        throw UsageError("no command; there are: " + namesIn(kCommands));
    }
    const auto& command = entryNamed<UsageError>(kCommands, options.words.front(), "command");
    if (!command.takesOptions) {
        requireNoOptions(options, {});
    }
    return command.build(options);
}

Finished runControlCommand(const ControlOptions& options) {
    try {
        const auto command = controlCommand(options);
        return command.run == nullptr ? perform(command, options) : command.run(command, options);
    } catch (const UsageError& error) {
        return failure(kExitUsage, error.what(), options.json);
    } catch (const std::exception& error) {
        return failure(kExitFailed, error.what(), options.json);
    }
}

}  // namespace ponmgr::sim
