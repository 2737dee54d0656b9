#include "dbman/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>

#include "dbman/Arguments.h"
#include "dbman/ControlClient.h"
#include "dbman/Errors.h"
#include "dbman/Json.h"
#include "dbman/LocalSocket.h"
#include "dbman/Serve.h"
#include "dbman/Views.h"

namespace ponmgr::dbman {

namespace {

/// What the command line holds, before it is checked.
struct Given {
    std::string control = kDefaultControlPath;
    bool json = false;
    // serve
    std::string slots = "1-8";
    std::string source = "127.0.0.1";
    std::string base = "127.0.1.0";
    std::string configurationFile;
    bool quiet = false;
    // the commands for a running dbman
    std::string slot;
    std::string macAddress;
    std::string vlan;
    std::string port;
    std::string uri;
    std::vector<std::string> values;
    bool discardUntagged = false;
    bool remove = false;
};

using Declare = void (*)(CLI::App& app, Given& given);
/// Checks what was given and makes the request's members of it, "command" aside.
using Build = Json (*)(const Given& given);
using View = std::string (*)(const Json& answer);

/// A command for a running dbman. What the words say is what the request calls it.
struct Command {
    const char* group;
    const char* name;
    const char* description;
    Declare declare;
    Build build;
    View view;
};

void declareNothing(CLI::App&, Given&) {}

void declareSlot(CLI::App& app, Given& given) {
    app.add_option("slot", given.slot, "1 to 8")->required();
}

void declareSlotOrAll(CLI::App& app, Given& given) {
    app.add_option("slot", given.slot, "1 to 8, or all")->required();
}

void declareSlotOption(CLI::App& app, Given& given) {
    app.add_option("--slot", given.slot, "1 to 8");
}

void declareOnu(CLI::App& app, Given& given) {
    app.add_option("mac", given.macAddress, "such as 00:0d:b6:00:00:03")->required();
    app.add_option("--slot", given.slot, "1 to 8; may be left out when dbman knows the ONU");
}

void declareOnuVlan(CLI::App& app, Given& given) {
    declareOnu(app, given);
    app.add_option("vlan", given.vlan, "1 to 4095")->required();
}

void declarePortVlan(CLI::App& app, Given& given) {
    app.add_option("port", given.port, "SLOT/PORT, such as 3/1")->required();
    auto* vlan = app.add_option("vlan", given.vlan, "1 to 4095");
    auto* discard = app.add_flag("--discard-untagged", given.discardUntagged,
                                 "drop frames that carry no VLAN tag");
    app.add_flag("--remove", given.remove, "take the port's VLAN away")
        ->excludes(vlan)
        ->excludes(discard);
}

void declareSend(CLI::App& app, Given& given) {
    app.add_option("uri", given.uri, "such as /slot/reset")->required();
    app.add_option("values", given.values, "KEY=VALUE, such as slot_id=3");
}

std::string checkedSlot(const Given& given) {
    return std::to_string(parseSlot(given.slot));
}

Json buildNothing(const Given&) {
    return Json::object();
}

Json buildSlot(const Given& given) {
    return {{"slot", checkedSlot(given)}};
}

Json buildSlotOrAll(const Given& given) {
    return {{"slot", given.slot == "all" ? given.slot : checkedSlot(given)}};
}

Json buildOptionalSlot(const Given& given) {
    return given.slot.empty() ? Json::object() : buildSlot(given);
}

Json buildOnu(const Given& given) {
    Json request = buildOptionalSlot(given);
    request["mac"] = parseMacAddress(given.macAddress);
    return request;
}

Json buildOnuVlan(const Given& given) {
    Json request = buildOnu(given);
    request["vlan"] = parseVlan(given.vlan);
    return request;
}

Json buildPortVlan(const Given& given) {
    const auto address = parsePortAddress(given.port);
    Json request = {{"port", std::to_string(address.slot) + "/" + std::to_string(address.port)}};
    if (given.remove) {
        request["command"] = "port vlan remove";
        return request;
    }
    if (given.vlan.empty()) {
        throw ArgumentError("a VLAN from 1 to 4095 or --remove is missing");
    }
    request["vlan"] = parseVlan(given.vlan);
    request["discard_untagged"] = given.discardUntagged ? "1" : "0";
    return request;
}

Json buildSend(const Given& given) {
    Json data = Json::object();
    for (const auto& text : given.values) {
        const auto [key, value] = parseKeyValue(text);
        if (data.contains(key)) {
            throw ArgumentError("the key \"" + key + "\" is there twice");
        }
        data[key] = value;
    }
    return {{"uri", parseUri(given.uri)}, {"data", data}};
}

constexpr std::array kCommands = {
    Command{"slot", "enable", "Switch a card on", declareSlot, buildSlot, viewSent},
    Command{"slot", "disable", "Switch a card off", declareSlot, buildSlot, viewSent},
    Command{"slot", "reset", "Restart a card", declareSlot, buildSlot, viewSent},
    Command{"slot", "announce", "Send the addresses of a slot to the daemon; restarts its bring-up",
            declareSlotOrAll, buildSlotOrAll, viewSent},
    Command{"card", "list", "Show the cards", declareNothing, buildNothing, viewCards},
    Command{"onu", "list", "Show the ONUs", declareSlotOption, buildOptionalSlot, viewOnus},
    Command{"onu", "remove", "Clear the provisioning of an ONU and forget it", declareOnu, buildOnu,
            viewSent},
    Command{"onu", "reset", "Restart an ONU", declareOnu, buildOnu, viewSent},
    Command{"onu", "vlan", "Set the VLAN of an ONU's port", declareOnuVlan, buildOnuVlan, viewSent},
    Command{"port", "vlan", "Set or remove the VLAN of a PON port", declarePortVlan, buildPortVlan,
            viewSent},
    Command{nullptr, "status", "Show what has been counted", declareNothing, buildNothing,
            viewStatus},
    Command{nullptr, "send", "Send a message of your own to the daemon", declareSend, buildSend,
            viewSent},
};

const std::map<std::string, const char*> kGroups = {{"slot", "Commands for a slot"},
                                                    {"card", "The cards"},
                                                    {"onu", "The ONUs"},
                                                    {"port", "PON ports of a card"}};

ServeOptions serveOptions(const Given& given) {
    ServeOptions options;
    options.controlPath = given.control;
    options.quiet = given.quiet;
    const auto source = parseIpv4(given.source);
    options.configuration =
        given.configurationFile.empty()
            ? makeSlotConfiguration(parseSlotList(given.slots), parseIpv4(given.base), source)
            : readSlotConfiguration(given.configurationFile, source);
    return options;
}

/// One run of the program.
class Run {
public:
    Run(std::ostream& resultStream, std::ostream& errorStream)
        : out(resultStream), err(errorStream) {}

    ExitCode run(std::vector<std::string> arguments);

private:
    void declareServe();
    void declareCommand(const Command& command);
    CLI::App& group(const char* name);
    void serve();
    void ask(const Command& command);
    ExitCode fail(ExitCode code, const std::string& error);
    ExitCode handleParseError(const CLI::ParseError& error);

    std::ostream& out;
    std::ostream& err;
    Given given;
    CLI::App app{"Reference database manager of ponmgrd", "dbman"};
    std::map<std::string, CLI::App*> groups;
};

CLI::App& Run::group(const char* name) {
    auto& found = groups[name];
    if (found == nullptr) {
        found = app.add_subcommand(name, kGroups.at(name));
        found->require_subcommand(1);
    }
    return *found;
}

void Run::declareServe() {
    auto* sub = app.add_subcommand("serve", "Be the daemon's peer until SIGINT or SIGTERM");
    auto* slots = sub->add_option("--slots", given.slots, "Slots with a card, such as 1-4,7")
                      ->capture_default_str();
    auto* base = sub->add_option("--base", given.base, "Slot n has this address plus n")
                     ->capture_default_str();
    sub->add_option("--source", given.source, "Our address towards the cards")
        ->capture_default_str();
    sub->add_option("--config", given.configurationFile, "JSON file with each slot's addresses")
        ->excludes(slots)
        ->excludes(base);
    sub->add_option("--control", given.control, "Where clients connect")->capture_default_str();
    sub->add_flag("--quiet", given.quiet, "Show only what goes wrong");
    sub->callback([this] { serve(); });
}

void Run::declareCommand(const Command& command) {
    auto& parent = command.group == nullptr ? app : group(command.group);
    auto* sub = parent.add_subcommand(command.name, command.description);
    command.declare(*sub, given);
    sub->add_option("--control", given.control, "Where dbman listens for clients")
        ->capture_default_str();
    sub->add_flag("--json", given.json, "Answer and errors as JSON on standard output");
    sub->callback([this, &command] { ask(command); });
}

void Run::serve() {
    serveUntilSignal(serveOptions(given), out);
}

void Run::ask(const Command& command) {
    Json request = command.build(given);
    if (!request.contains("command")) {
        const auto prefix = command.group == nullptr ? "" : std::string(command.group) + " ";
        request["command"] = prefix + command.name;
    }
    const auto text = askDbman(given.control, printJson(request));
    const Json answer = parseJson(text);
    if (!answer.is_object()) {
        throw Failure("dbman answered something that isn't an object");
    }
    if (answer.contains("error")) {
        throw Failure(stringMember(answer, "error"));
    }
    out << (given.json ? text + "\n" : command.view(answer)) << std::flush;
}

ExitCode Run::fail(ExitCode code, const std::string& error) {
    if (given.json) {
        OrderedJson json = OrderedJson::object();
        json["error"] = error;
        out << printJson(json) << std::endl;
    } else {
        err << "dbman: " << error << std::endl;
    }
    return code;
}

ExitCode Run::handleParseError(const CLI::ParseError& error) {
    if (error.get_exit_code() != 0 && given.json) {
        return fail(ExitCode::usage, error.what());
    }
    return app.exit(error, out, err) == 0 ? ExitCode::done : ExitCode::usage;
}

ExitCode Run::run(std::vector<std::string> arguments) {
    app.require_subcommand(1);
    app.set_version_flag("--version", PONMGR_VERSION);
    declareServe();
    for (const auto& command : kCommands) {
        declareCommand(command);
    }
    // An error is JSON even when the command line can't be read to its end.
    given.json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(std::move(arguments));
        return ExitCode::done;
    } catch (const CLI::ParseError& error) {
        return handleParseError(error);
    } catch (const ArgumentError& error) {
        return fail(ExitCode::usage, error.what());
    } catch (const NotRunning& error) {
        return fail(ExitCode::notRunning, error.what());
    } catch (const std::runtime_error& error) {
        return fail(ExitCode::failed, error.what());
    }
}

}  // namespace

ExitCode runDbman(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    return Run(out, err).run(arguments);
}

}  // namespace ponmgr::dbman
