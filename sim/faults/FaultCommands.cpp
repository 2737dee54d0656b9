#include <nlohmann/json.hpp>

#include <vector>

#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {

namespace {

std::string printAdded(const Json& reply) {
    return reply.at("fault").dump() + '\n';
}

std::string printRemoved(const Json& reply) {
    std::vector<std::string> ids;
    for (const auto& id : reply.at("removed")) {
        ids.push_back(id.dump());
    }
    return "removed: " + (ids.empty() ? "none" : joined(ids)) + '\n';
}

std::string printKinds(const Json& reply) {
    std::string text;
    for (const auto& kind : reply.at("kinds")) {
        text +=
            kind.at("kind").get<std::string>() + ": " + kind.at("effect").get<std::string>() + '\n';
    }
    return text;
}

ControlCommand addCommand(const ControlOptions& options) {
    const auto& words = options.words;
    if (words.size() != 3) {
        throw UsageError("usage: chassis-sim ctl fault add KIND [OPTIONS]; kinds: " +
                         faultKindNames());
    }
    parseFault(words[2], options.named);
    return {{{"verb", "fault"}, {"action", "add"}, {"kind", words[2]}, {"options", options.named}},
            printAdded};
}

ControlCommand listCommand(const ControlOptions& options) {
    requireCount(options.words, 2, "fault list");
    requireNoOptions(options, {});
    return {{{"verb", "fault"}, {"action", "list"}}, printFaults};
}

ControlCommand removeCommand(const ControlOptions& options) {
    requireCount(options.words, 3, "fault remove ID|all");
    requireNoOptions(options, {});
    Json fault = "all";
    if (options.words[2] != "all") {
        fault = parseCount("fault remove", options.words[2], UINT32_MAX);
    }
    return {{{"verb", "fault"}, {"action", "remove"}, {"fault", fault}}, printRemoved};
}

ControlCommand kindsCommand(const ControlOptions& options) {
    requireCount(options.words, 2, "fault kinds");
    requireNoOptions(options, {});
    return {{{"verb", "fault"}, {"action", "kinds"}}, printKinds};
}

struct FaultWord {
    const char* name;
    ControlCommand (*build)(const ControlOptions& options);
};

constexpr FaultWord kWords[] = {
    {"add", addCommand}, {"list", listCommand}, {"remove", removeCommand}, {"kinds", kindsCommand}};

}  // namespace

ControlCommand faultCommand(const ControlOptions& options) {
    if (options.words.size() < 2) {
        throw UsageError("usage: chassis-sim ctl fault ACTION; actions: " + namesIn(kWords));
    }
    return entryNamed<UsageError>(kWords, options.words[1], "action").build(options);
}

}  // namespace ponmgr::sim
