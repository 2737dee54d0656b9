#include "sim/AlarmNames.h"
#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/EntityAddress.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

std::string printOnuState(const Json& reply) {
    return "onu " + reply.at("onu").get<std::string>() + ": " +
           reply.at("state").get<std::string>() + '\n';
}

std::string printAlarm(const Json& reply) {
    return "slot " + reply.at("slot").dump() + ": " + reply.at("alarm").get<std::string>() + " (" +
           reply.at("code").dump() + ") " + reply.at("state").get<std::string>() + ", sequence " +
           reply.at("sequence").dump() + '\n';
}

std::string printEvent(const Json& reply) {
    return "slot " + reply.at("slot").dump() + ": sent " + reply.at("bytes").dump() + " bytes\n";
}

struct OnuWord {
    const char* name;
    /// The action's value; null when it takes none.
    Json (*value)(const std::string& text);
    std::string (*print)(const Json& reply);
};

Json decibels(const std::string& text) {
    return parseDecibels("fade", text);
}

/// A port of the card that the ONU hangs at, or of another.
Json port(const std::string& text) {
    if (text.find('/') != std::string::npos) {
        parsePonPortOfSlot("move", text);
        return text;
    }
    return parsePonPort("move", text);
}

constexpr OnuWord kOnuWords[] = {
    {"get", nullptr, printDetails},       {"unplug", nullptr, printOnuState},
    {"plug", nullptr, printOnuState},     {"power-off", nullptr, printOnuState},
    {"power-on", nullptr, printOnuState}, {"fade", decibels, printOnuState},
    {"move", port, printOnuState},
};

ControlCommand onuListCommand(const Words& words) {
    Json request{{"verb", "onus"}};
    if (words.size() > 2) {
        requireCount(words, 3, "onu list [SLOT[/PORT]]");
        parseOnuSelection("onu list", words[2]);
        request["of"] = words[2];
    }
    return {request, printOnus};
}

}  // namespace

void requireCount(const Words& words, std::size_t count, const std::string& usage) {
    if (words.size() != count) {
        throw UsageError("usage: chassis-sim ctl " + usage);
    }
}

std::string valuesUsage(std::size_t count) {
    std::string text;
    for (; count > 0; --count) {
        text += " VALUE";
    }
    return text;
}

ControlCommand onuCommand(const ControlOptions& options) {
    const auto& words = options.words;
    if (words.size() >= 2 && words[1] == "list") {
        return onuListCommand(words);
    }
    if (words.size() < 3) {
        throw UsageError(
            "usage: chassis-sim ctl onu list [SLOT[/PORT]], or onu SLOT/PORT/INDEX ACTION; "
            "actions: " +
            namesIn(kOnuWords));
    }
    parseOnuAddress("onu", words[1]);
    const auto& action = entryNamed<UsageError>(kOnuWords, words[2], "action");
    const std::size_t values = action.value == nullptr ? 0 : 1;
    requireCount(words, 3 + values,
                 std::string("onu SLOT/PORT/INDEX ") + action.name + valuesUsage(values));
    Json request{{"verb", "onu"}, {"onu", words[1]}, {"action", action.name}};
    if (values > 0) {
        request["value"] = action.value(words[3]);
    }
    return {request, action.print};
}

ControlCommand alarmCommand(const ControlOptions& options) {
    const auto& words = options.words;
    requireCount(words, 4, "alarm TARGET NAME raise|clear");
    parseAlarmSubject("alarm", words[1]);
    parseAlarm("alarm", words[2]);
    entryNamed<UsageError>(kAlarmStates, words[3], "state");
    return {{{"verb", "alarm"}, {"target", words[1]}, {"alarm", words[2]}, {"state", words[3]}},
            printAlarm};
}

ControlCommand eventCommand(const ControlOptions& options) {
    const auto& words = options.words;
    requireCount(words, 3, "event N HEX");
    parseBytes("event", words[2]);
    return {{{"verb", "event"}, {"card", parseSlot("event", words[1])}, {"frame", words[2]}},
            printEvent};
}

}  // namespace ponmgr::sim
