#include "sim/ScenarioLine.h"

#include <algorithm>

#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

constexpr auto kLongest = std::chrono::hours(24);

[[noreturn]] void refuse(const std::string& member, const std::string& allowed) {
    throw UsageError('"' + member + "\" can't be used so; allowed: " + allowed);
}

std::string text(const std::string& member, const Json& value, const std::string& allowed) {
    if (!value.is_string() || value.get<std::string>().empty()) {
        refuse(member, allowed);
    }
    return value.get<std::string>();
}

/// "12s", or a number of seconds.
Duration time(const std::string& member, const Json& value) {
    if (value.is_string()) {
        return parseDuration(member, value.get<std::string>(), kLongest);
    }
    const std::chrono::duration<double> longest = kLongest;
    const bool inRange =
        value.is_number() && value.get<double>() >= 0 && value.get<double>() <= longest.count();
    if (!inRange) {
        refuse(member, "seconds from 0 to 86400, or a time such as 12s or 500ms");
    }
    return std::chrono::round<Duration>(std::chrono::duration<double>(value.get<double>()));
}

void setAt(ScenarioLine& line, const Json& value) {
    line.at = time("at", value);
}

void setAfter(ScenarioLine& line, const Json& value) {
    if (text("after", value, "in-service") != "in-service") {
        refuse("after", "in-service");
    }
    line.afterInService = true;
}

void setTimeout(ScenarioLine& line, const Json& value) {
    line.timeout = time("timeout", value);
}

void setNote(ScenarioLine& line, const Json& value) {
    line.note = text("note", value, "a text");
}

void setCommand(ScenarioLine& line, const Json& value) {
    line.command =
        text("ctl", value, "the words of a chassis-sim ctl command, such as card 3 reset");
    line.words = splitWords(line.command);
    if (line.words.empty()) {
        refuse("ctl", "the words of a chassis-sim ctl command, such as card 3 reset");
    }
}

struct Member {
    const char* name;
    void (*set)(ScenarioLine& line, const Json& value);
};

constexpr Member kMembers[] = {
    {"at", setAt},     {"after", setAfter}, {"timeout", setTimeout},
    {"note", setNote}, {"ctl", setCommand},
};

/// What an object with a "verb" has beyond the members of a line is the request.
void take(ScenarioLine& line, const std::string& name, const Json& value, bool isRequest) {
    const auto* const member = std::ranges::find(kMembers, name, &Member::name);
    if (member != std::end(kMembers)) {
        member->set(line, value);
    } else if (isRequest) {
        line.request[name] = value;
    } else {
        throw UsageError("unknown member '" + name + "'; there are: " + namesIn(kMembers) +
                         ", or a \"verb\" and what else a control request has");
    }
}

void requireSense(const ScenarioLine& line, bool hasTimeout) {
    const bool acts = !line.words.empty() || !line.request.is_null();
    if (!line.words.empty() && !line.request.is_null()) {
        throw UsageError("\"ctl\" can't be used with \"verb\"; allowed: one of the two");
    }
    if (!acts && !line.afterInService && line.note.empty()) {
        throw UsageError(
            "nothing to do; allowed: a \"ctl\", a \"verb\", an \"after\" or a \"note\"");
    }
    if (acts && !line.at && !line.afterInService) {
        throw UsageError("\"at\" is missing; allowed: seconds, or a time such as 12s");
    }
    if (hasTimeout && !line.afterInService) {
        throw UsageError("\"timeout\" can't be used alone; allowed: with \"after\"");
    }
}

}  // namespace

ScenarioLine parseScenarioLine(const std::string& lineText) {
    const auto object = Json::parse(lineText, nullptr, false);
    if (!object.is_object()) {
        throw UsageError(
            "no JSON object; allowed: one a line, such as {\"at\": \"12s\", \"ctl\": \"card 3 "
            "reset\"}");
    }
    ScenarioLine line;
    for (const auto& [name, value] : object.items()) {
        take(line, name, value, object.contains("verb"));
    }
    requireSense(line, object.contains("timeout"));
    return line;
}

std::vector<std::string> splitWords(const std::string& text) {
    std::vector<std::string> words;
    char quote = 0;
    bool inWord = false;
    for (const char letter : text) {
        const bool blank = letter == ' ' || letter == '\t';
        if (quote == 0 && blank) {
            inWord = false;
            continue;
        }
        if (!inWord) {
            words.emplace_back();
            inWord = true;
        }
        if (letter == quote) {
            quote = 0;
        } else if (quote == 0 && (letter == '"' || letter == '\'')) {
            quote = letter;
        } else {
            words.back() += letter;
        }
    }
    if (quote != 0) {
        throw UsageError("a quote isn't closed; allowed: two of the same kind around a word");
    }
    return words;
}

}  // namespace ponmgr::sim
