#include "sim/ControlCommands.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

#include "sim/ControlClient.h"
#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/EntityAddress.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

std::string printState(const Json& reply) {
    return "slot " + reply.at("slot").dump() + ": " + reply.at("state").get<std::string>() + '\n';
}

std::string printSetting(const Json& reply) {
    return "slot " + reply.at("slot").dump() + ": done\n";
}

std::string printWait(const Json& reply) {
    return "in service: " + std::to_string(reply.at("in_service").size()) + " cards\n";
}

std::string printFibre(const Json& reply) {
    return "slot " + reply.at("slot").dump() + " port " + reply.at("port").dump() + ": fibre " +
           reply.at("fibre").get<std::string>() + '\n';
}

Json fibreRequest(const Words& values, const char* state) {
    return {{"verb", "fibre"}, {"port", parsePonPort("port", values.front())}, {"state", state}};
}

struct CardAction {
    const char* name;
    std::size_t values;
    /// The request without its card.
    Json (*request)(const Words& values);
    std::string (*print)(const Json& reply);
};

const CardAction kCardActions[] = {
    {"get", 0,
     [](const Words&) {
         return Json{{"verb", "get"}};
     },
     printDetails},
    {"reset", 0,
     [](const Words&) {
         return Json{{"verb", "reset"}};
     },
     printState},
    {"mute", 0,
     [](const Words&) {
         return Json{{"verb", "set"}, {"name", "muted"}, {"value", true}};
     },
     printSetting},
    {"unmute", 0,
     [](const Words&) {
         return Json{{"verb", "set"}, {"name", "muted"}, {"value", false}};
     },
     printSetting},
    {"product-code", 1,
     [](const Words& values) {
         parseProductCode("product-code", values.front());
         return Json{{"verb", "set"}, {"name", "product-code"}, {"value", values.front()}};
     },
     printSetting},
    {"cut", 1, [](const Words& values) { return fibreRequest(values, "cut"); }, printFibre},
    {"restore", 1, [](const Words& values) { return fibreRequest(values, "restored"); },
     printFibre},
    {"leftover-path", 2,
     [](const Words& values) {
         return Json{{"verb", "set"},
                     {"name", "leftover-path"},
                     {"id", parseCount("id", values[0], UINT16_MAX)},
                     {"usage_count", parseCount("usage count", values[1], UINT16_MAX)}};
     },
     printSetting},
};

ControlCommand listCommand(const ControlOptions& options) {
    requireCount(options.words, 1, "list");
    return {{{"verb", "list"}}, printCards};
}

ControlCommand cardCommand(const ControlOptions& options) {
    const auto& words = options.words;
    if (words.size() < 3) {
        throw UsageError("usage: chassis-sim ctl card N ACTION; actions: " + namesIn(kCardActions));
    }
    const auto slot = parseSlot("card", words[1]);
    const auto& action = entryNamed<UsageError>(kCardActions, words[2], "action");
    requireCount(words, 3 + action.values,
                 std::string("card N ") + action.name + valuesUsage(action.values));
    auto request = action.request({words.begin() + 3, words.end()});
    request["card"] = slot;
    return {request, action.print};
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
};

constexpr CommandEntry kCommands[] = {
    {"list", listCommand}, {"card", cardCommand},   {"wait", waitCommand},
    {"onu", onuCommand},   {"alarm", alarmCommand}, {"event", eventCommand},
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

Finished runControlCommand(const ControlOptions& options) {
    try {
        if (options.words.empty()) {
            throw UsageError("no command; there are: " + namesIn(kCommands));
        }
        const auto& command = entryNamed<UsageError>(kCommands, options.words.front(), "command");
        return perform(command.build(options), options);
    } catch (const UsageError& error) {
        return failure(kExitUsage, error.what(), options.json);
    } catch (const std::exception& error) {
        return failure(kExitFailed, error.what(), options.json);
    }
}

}  // namespace ponmgr::sim
