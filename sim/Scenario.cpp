#include "sim/Scenario.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <istream>
#include <system_error>
#include <variant>

#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/ControlVerbs.h"
#include "sim/EntityAddress.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/ScenarioLine.h"

namespace ponmgr::sim {

namespace {

std::string printInService(const Json& reply) {
    return std::to_string(reply.at("in_service").size()) + " cards in service\n";
}

std::string printNothing(const Json&) {
    return "";
}

void requireSlot(std::int64_t slot, const ChassisSettings& settings) {
    if (std::ranges::find(settings.slots, slot) == settings.slots.end()) {
        std::vector<std::string> slots;
        for (const auto present : settings.slots) {
            slots.push_back(std::to_string(present));
        }
        throw UsageError("no card in slot " + std::to_string(slot) +
                         "; there are: " + joined(slots));
    }
}

void requireOnu(const OnuAddress& onu, const ChassisSettings& settings) {
    requireSlot(onu.slot, settings);
    if (onu.index >= settings.onusPerPort) {
        throw UsageError("no ONU " + toText(onu) + "; there are " +
                         std::to_string(settings.onusPerPort) + " at a port");
    }
}

/// A number, or text where options are given: a slot or "all".
void checkCard(const Json& value, const ChassisSettings& settings) {
    if (value.is_number_integer()) {
        requireSlot(value.get<std::int64_t>(), settings);
    } else if (value.is_string() && value != "all") {
        requireSlot(parseSlot("card", value.get<std::string>()), settings);
    }
}

void checkOnu(const Json& value, const ChassisSettings& settings) {
    if (value.is_string()) {
        requireOnu(parseOnuAddress("onu", value.get<std::string>()), settings);
    }
}

void checkSelection(const Json& value, const ChassisSettings& settings) {
    if (value.is_string()) {
        requireSlot(parseOnuSelection("of", value.get<std::string>()).slot, settings);
    }
}

void checkTarget(const Json& value, const ChassisSettings& settings) {
    if (!value.is_string()) {
        return;
    }
    const auto subject = parseAlarmSubject("target", value.get<std::string>());
    if (subject.tag == EntityTag::oltPort) {
        requireSlot(subject.slot, settings);
    } else {
        requireOnu(subject.onu, settings);
    }
}

/// The members of a request that name something, and how to see that it is there.
struct NamingMember {
    const char* name;
    void (*check)(const Json& value, const ChassisSettings& settings);
};

constexpr NamingMember kNamingMembers[] = {
    {"card", checkCard},
    {"onu", checkOnu},
    {"of", checkSelection},
    {"target", checkTarget},
};

void checkNames(const Json& request, const ChassisSettings& settings) {
    for (const auto& member : kNamingMembers) {
        if (request.contains(member.name)) {
            member.check(request.at(member.name), settings);
        }
    }
    if (request.contains("options")) {
        checkNames(request.at("options"), settings);
    }
}

/// What `chassis-sim ctl` with these words would ask.
ControlCommand commandOf(const ScenarioLine& line) {
    if (std::ranges::any_of(
            line.words, [](const std::string& word) { return word.starts_with("--control"); })) {
        throw UsageError("--control can't be used in a scenario; allowed: without");
    }
    std::vector<std::string> arguments{"ctl"};
    arguments.insert(arguments.end(), line.words.begin(), line.words.end());
    const auto parsed = parseCommandLine(arguments);
    if (const auto* options = std::get_if<ControlOptions>(&parsed)) {
        if (options->named.contains("follow")) {
            throw UsageError("--follow can't be used in a scenario; allowed: without");
        }
        return controlCommand(*options);
    }
    const auto& finished = std::get<Finished>(parsed);
    if (finished.status == kExitOk) {
        throw UsageError("--help can't be used in a scenario; allowed: without");
    }
    // With --json the error is on the standard output.
    throw UsageError("not a command: " + finished.errorOutput + finished.output);
}

ScenarioStep waitingStep(int number, const ScenarioLine& line) {
    const auto timeout = std::chrono::ceil<std::chrono::milliseconds>(line.timeout);
    ScenarioStep step;
    step.line = number;
    step.beginsPhase = true;
    step.text = "after in-service";
    step.request = {{"verb", "wait"}, {"for", "in-service"}, {"timeout_ms", timeout.count()}};
    step.print = printInService;
    return step;
}

ScenarioStep requestingStep(const ScenarioLine& line) {
    ScenarioStep step;
    if (!line.words.empty()) {
        const auto command = commandOf(line);
        step.text = line.command;
        step.request = command.request;
        step.print = command.print;
        return step;
    }
    ControlVerbs::requireVerb(line.request.at("verb").is_string()
                                  ? line.request.at("verb").get<std::string>()
                                  : line.request.at("verb").dump());
    step.text = line.request.dump();
    step.request = line.request;
    step.print = printDetails;
    return step;
}

/// Puts the steps of one line after another.
class ScenarioBuilder {
public:
    explicit ScenarioBuilder(const ChassisSettings& chassis) : settings(chassis) {}

    void add(int number, const ScenarioLine& line) {
        if (line.afterInService) {
            steps.push_back(waitingStep(number, line));
            latest = Duration::zero();
        }
        const auto at = line.at.value_or(latest);
        if (at < latest) {
            throw UsageError(
                "\"at\" is earlier than in the line before; allowed: times that don't "
                "go back, but for those behind an \"after\"");
        }
        latest = at;
        if (!line.note.empty()) {
            steps.push_back({number, at, false, line.note, nullptr, printNothing});
        }
        if (!line.words.empty() || !line.request.is_null()) {
            auto step = requestingStep(line);
            checkNames(step.request, settings);
            step.line = number;
            step.at = at;
            steps.push_back(std::move(step));
        }
    }

    std::vector<ScenarioStep> take() { return std::move(steps); }

private:
    const ChassisSettings& settings;
    std::vector<ScenarioStep> steps;
    Duration latest{};
};

}  // namespace

Scenario parseScenario(std::istream& input, const std::string& name,
                       const ChassisSettings& settings) {
    ScenarioBuilder builder(settings);
    std::string text;
    for (int number = 1; std::getline(input, text); ++number) {
        if (text.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        try {
            builder.add(number, parseScenarioLine(text));
        } catch (const std::exception& error) {
            throw UsageError(name + ':' + std::to_string(number) + ": " + error.what());
        }
    }
    Scenario scenario{name, builder.take()};
    if (scenario.steps.empty()) {
        throw UsageError(name + ": no steps; allowed: at least one line with one JSON object");
    }
    return scenario;
}

Scenario readScenario(const std::string& path, const ChassisSettings& settings) {
    std::ifstream input(path);
    // A folder opens, but can't be read.
    if (!input || (input.peek(), input.bad())) {
        throw UsageError("--scenario: can't read " + path + ": " +
                         std::generic_category().message(errno));
    }
    const auto slash = path.rfind('/');
    return parseScenario(input, slash == std::string::npos ? path : path.substr(slash + 1),
                         settings);
}

}  // namespace ponmgr::sim
