#include "sim/Options.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <random>
#include <sstream>

#include "sim/CommandHelp.h"
#include "sim/CommandOptions.h"
#include "sim/CompletionScript.h"
#include "sim/ControlJson.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/journal/Journal.h"

namespace ponmgr::sim {

namespace {

constexpr auto kLongestLatency = std::chrono::seconds(60);
constexpr auto kLongestReset = std::chrono::hours(1);
constexpr auto kLongestTimeout = std::chrono::hours(24);

/// The values as they are written on the command line.
struct Texts {
    std::string slots = "1-8";
    std::string base = "127.0.1.0";
    std::string port = "14113";
    std::string latency = "2ms";
    std::string resetTime = "3s";
    std::string nvs = "on";
    std::string productCode = "3723";
    std::string onus = "16";
    std::string discoveryInterval = "5ms";
    std::string onuResetTime = "5s";
    std::string opticsInterval = "1s";
    std::string seed = "random";
    std::string control = "/tmp/chassis-sim.ctl";
    std::string timeout = "120s";

    std::string jitter = "0";
    std::string journal = "10000";
    std::string journalFile;
    std::string pcap;
    std::map<std::string, std::string> named;

    std::vector<std::string> words;
    bool configured = false;
    bool verbose = false;
    bool json = false;
    std::string scenario;
    std::string scenarioSpeed = "1";
    bool scenarioExit = false;
    std::string shell;
};

struct TextOption {
    const char* name;
    std::string Texts::*text;
    const char* value;
    const char* description;
};

constexpr TextOption kServeOptions[] = {
    {"--slots", &Texts::slots, "LIST", "Slots that hold a card: 1 to 8, such as 1-3,7"},
    {"--base", &Texts::base, "ADDRESS", "Slot n has the address ADDRESS + n"},
    {"--port", &Texts::port, "PORT", "UDP port of every card"},
    {"--latency", &Texts::latency, "TIME", "Time from a request to its answer (us, ms, s, or 0)"},
    {"--reset-time", &Texts::resetTime, "TIME", "How long a reset takes (us, ms, s, or 0)"},
    {"--nvs", &Texts::nvs, "on|off", "Whether the cards' non-volatile storage is on at the start"},
    {"--product-code", &Texts::productCode, "XXXX", "Product code of the cards, four hex digits"},
    {"--onus", &Texts::onus, "N", "ONUs at each PON port, two ports a card; up to 124"},
    {"--discovery-interval", &Texts::discoveryInterval, "TIME",
     "From one ONU of a card that registers to the next (us, ms, s, or 0)"},
    {"--onu-reset-time", &Texts::onuResetTime, "TIME",
     "From an ONU's reset until it registers again (us, ms, s, or 0)"},
    {"--optics-interval", &Texts::opticsInterval, "TIME",
     "How often the optical readings change (us, ms, s, or 0 for never)"},
    {"--seed", &Texts::seed, "N", "The same seed gives the same ONUs and readings"},
    {"--jitter", &Texts::jitter, "TIME", "The most that an answer takes beyond the latency"},
    {"--journal", &Texts::journal, "N", "How many datagrams are kept in memory, up to 1000000"},
    {"--journal-file", &Texts::journalFile, "FILE", "Append every datagram to FILE as JSON"},
    {"--pcap", &Texts::pcap, "FILE", "Write every datagram to FILE, a capture"},
};

constexpr TextOption kControlOption{"--control", &Texts::control, "PATH", "Control socket"};
constexpr TextOption kTimeoutOption{"--timeout", &Texts::timeout, "TIME",
                                    "How long 'wait' waits (us, ms, s)"};

void addOption(CLI::App& app, Texts& texts, const TextOption& option) {
    app.add_option(option.name, texts.*option.text, option.description)
        ->capture_default_str()
        ->type_name(option.value);
}

constexpr TextOption kScenarioOptions[] = {
    {"--scenario", &Texts::scenario, "FILE", "Play the commands of this file at their times"},
    {"--scenario-speed", &Texts::scenarioSpeed, "N", "So many times as fast as the file says"},
};

void describeScenario(CLI::App& app, Texts& texts) {
    for (const auto& option : kScenarioOptions) {
        addOption(app, texts, option);
    }
    app.add_flag("--scenario-exit", texts.scenarioExit,
                 "End with the scenario: status 0, or 1 when a step has failed");
}

void addCommandOptions(CLI::App& ctl, std::map<std::string, std::string>& named) {
    for (const auto& option : commandOptions()) {
        const std::string dashed = std::string("--") + option.name;
        if (option.value == nullptr) {
            ctl.add_flag_callback(
                dashed, [&named, name = option.name] { named[name] = "on"; }, option.description);
        } else {
            ctl.add_option_function<std::string>(
                   dashed,
                   [&named, name = option.name](const std::string& text) { named[name] = text; },
                   option.description)
                ->type_name(option.value);
        }
    }
}

void describe(CLI::App& app, Texts& texts) {
    app.set_version_flag("--version", "chassis-sim " CHASSIS_SIM_VERSION);
    for (const auto& option : kServeOptions) {
        addOption(app, texts, option);
    }
    app.add_flag("--configured", texts.configured,
                 "Cards start marked as configured, with domains, NVS off");
    addOption(app, texts, kControlOption);
    app.add_flag("--verbose", texts.verbose, "Print one line a datagram");
    describeScenario(app, texts);

    auto* const ctl = app.add_subcommand("ctl", "Ask or command a running simulator");
    ctl->add_option("words", texts.words, commandNames())->type_name("COMMAND");
    ctl->add_flag("--json", texts.json, "Print JSON, errors too");
    addCommandOptions(*ctl, texts.named);
    addOption(*ctl, texts, kTimeoutOption);
    addOption(*ctl, texts, kControlOption);
    ctl->footer(controlHelp());

    app.footer(programHelp());
    app.add_subcommand("completion", "Print the completion script of a shell")
        ->add_option("shell", texts.shell, "bash")
        ->required();
}

ScenarioOptions scenarioOptions(const Texts& texts) {
    if (texts.scenario.empty() && (texts.scenarioExit || texts.scenarioSpeed != "1")) {
        throw UsageError(
            "--scenario-speed and --scenario-exit can't be used alone; allowed: with --scenario");
    }
    return {texts.scenario, parseSpeed("--scenario-speed", texts.scenarioSpeed),
            texts.scenarioExit};
}

Finished completion(const std::string& shell) {
    if (shell != "bash") {
        throw UsageError("completion: '" + shell + "' can't be used; allowed: bash");
    }
    return {kExitOk, std::string(completionScript()), ""};
}

void setJournalOptions(const Texts& texts, ServeOptions& options) {
    options.journalEntries = parseCount("--journal", texts.journal, Journal::kLargestCapacity);
    if (options.journalEntries == 0) {
        throw UsageError("--journal: '" + texts.journal +
                         "' can't be used; allowed: a whole number from 1 to 1000000");
    }
    options.journalFile = texts.journalFile;
    options.pcapFile = texts.pcap;
}

ServeOptions serveOptions(const Texts& texts, bool nvsGiven) {
    ServeOptions options;
    options.chassis.slots = parseSlots("--slots", texts.slots);
    options.chassis.base = parseBaseAddress("--base", texts.base);
    options.chassis.port = parsePort("--port", texts.port);
    options.chassis.latency = parseDuration("--latency", texts.latency, kLongestLatency);
    options.chassis.resetTime = parseDuration("--reset-time", texts.resetTime, kLongestReset);
    options.chassis.nvsEnabled = parseOnOff("--nvs", texts.nvs);
    options.chassis.configured = texts.configured;
    options.chassis.productCode = parseProductCode("--product-code", texts.productCode);
    options.chassis.onusPerPort = parseCount("--onus", texts.onus, kMostOnusPerPort);
    options.chassis.discoveryInterval =
        parseDuration("--discovery-interval", texts.discoveryInterval, kLongestLatency);
    options.chassis.onuResetTime =
        parseDuration("--onu-reset-time", texts.onuResetTime, kLongestReset);
    options.chassis.opticsInterval =
        parseDuration("--optics-interval", texts.opticsInterval, kLongestReset);
    options.chassis.seed = texts.seed == "random" ? std::random_device{}()
                                                  : parseCount("--seed", texts.seed, UINT32_MAX);
    options.controlPath = parseSocketPath("--control", texts.control);
    options.verbose = texts.verbose;
    options.chassis.jitter = parseDuration("--jitter", texts.jitter, kLongestLatency);
    setJournalOptions(texts, options);
    options.scenario = scenarioOptions(texts);
    if (texts.configured && nvsGiven && options.chassis.nvsEnabled) {
        throw UsageError("--nvs: 'on' can't be used with --configured; allowed: off");
    }
    return options;
}

/// What to say of an option that doesn't exist.
std::string unknownText(const std::string& text, bool isControl) {
    if (!isControl) {
        return text + " (see chassis-sim --help)";
    }
    std::vector<std::string> names{"--json", "--control", "--timeout"};
    for (const auto& option : commandOptions()) {
        names.push_back(std::string("--") + option.name);
    }
    return text + "; options of ctl: " + joined(names);
}

/// What stands in front of `ctl` is the simulator's; its control socket is both's.
void requireNoServeOptions(const CLI::App& app, const std::string& command) {
    for (const auto* option : app.get_options()) {
        const bool shared = option->check_name("--control");
        if (option->count() > 0 && !shared) {
            throw UsageError(command + " takes no " + option->get_name() +
                             "; that is an option of the simulator itself");
        }
    }
}

void requireNoTimeout(const Texts& texts, const CLI::App& ctl) {
    const std::string command = texts.words.empty() ? "ctl" : texts.words.front();
    if (command != "wait" && ctl.count("--timeout") > 0) {
        throw UsageError(command + " takes no --timeout; allowed: with wait");
    }
}

ControlOptions controlOptions(const Texts& texts, const CLI::App& app) {
    requireNoServeOptions(app, "ctl");
    requireNoTimeout(texts, *app.get_subcommand("ctl"));
    ControlOptions options;
    options.words = texts.words;
    options.controlPath = parseSocketPath("--control", texts.control);
    options.timeout = parseDuration("--timeout", texts.timeout, kLongestTimeout);
    options.json = texts.json;
    options.named = texts.named;
    return options;
}

}  // namespace

Finished failure(int status, const std::string& text, bool json) {
    if (json) {
        return {status,
                Json{{"error", text}}.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n',
                ""};
    }
    return {status, "", "chassis-sim: " + text + '\n'};
}

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    Texts texts;
    CLI::App app("A chassis of simulated PON cards.", "chassis-sim");
    describe(app, texts);
    // Known before the parse succeeds, for the errors of the parse itself.
    const bool json = std::ranges::find(arguments, "--json") != arguments.end();
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
        if (app.got_subcommand("ctl")) {
            return controlOptions(texts, app);
        }
        if (app.got_subcommand("completion")) {
            requireNoServeOptions(app, "completion");
            return completion(texts.shell);
        }
        return serveOptions(texts, app.count("--nvs") > 0);
    } catch (const CLI::ExtrasError& error) {
        return failure(kExitUsage, unknownText(error.what(), app.got_subcommand("ctl")), json);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            std::ostringstream output;
            app.exit(error, output, output);
            return Finished{kExitOk, output.str(), ""};
        }
        return failure(kExitUsage, std::string(error.what()) + " (see chassis-sim --help)", json);
    } catch (const UsageError& error) {
        return failure(kExitUsage, error.what(), json);
    }
}

}  // namespace ponmgr::sim
