#include "dbman/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>

#include "dbman/CommandTable.h"
#include "dbman/CommandWords.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Json.h"
#include "dbman/console/Console.h"

namespace ponmgr::dbman {

namespace {

/// The end of a group's help: the example of its first command.
std::string footerOf(const Group& group) {
    const auto commands = commandTable();
    const auto first = std::find_if(commands.begin(), commands.end(), [&group](const Command& row) {
        return row.group != nullptr && std::string_view(row.group) == group.name;
    });
    return std::string("Example:\n  ") + first->example + "\n\"dbman " + group.name +
           " COMMAND --help\" says more.";
}

/// One run of the program.
class Run {
public:
    explicit Run(const Surroundings& runSurroundings)
        : surroundings(runSurroundings), out(surroundings.out), err(surroundings.err) {}

    ExitCode run(const std::vector<std::string>& arguments);

private:
    void declareAll();
    void declare(const Command& command);
    void declare(CLI::App& app, const Argument& argument);
    CLI::App& group(const char* name);
    bool mayBeConsole() const;
    void act();
    ExitCode fail(ExitCode code, const std::string& error);
    ExitCode handleParseError(const CLI::ParseError& error,
                              const std::vector<std::string>& arguments);

    Surroundings surroundings;
    std::ostream& out;
    std::ostream& err;
    bool json = false;
    Given given;
    const Command* chosen = nullptr;
    CLI::App app{"Reference database manager of ponmgrd", "dbman"};
    std::map<std::string, CLI::App*> groups;
};

CLI::App& Run::group(const char* name) {
    return *groups.at(name);
}

void Run::declare(CLI::App& sub, const Argument& argument) {
    const std::string name = argument.name;
    const auto addText = [this, name](const std::string& text) { given.add(name, text); };
    if (argument.kind == Kind::flag) {
        sub.add_flag_callback(
            name, [addText] { addText("1"); }, argument.description);
    } else if (argument.kind == Kind::keyValue || argument.kind == Kind::retention) {
        const auto addAll = [addText](const std::vector<std::string>& texts) {
            std::for_each(texts.begin(), texts.end(), addText);
        };
        sub.add_option_function<std::vector<std::string>>(name, addAll, argument.description)
            ->type_name(valueName(argument.kind));
    } else {
        sub.add_option_function<std::string>(name, addText, argument.description)
            ->type_name(valueName(argument.kind))
            ->required(argument.required);
    }
}

void Run::declare(const Command& command) {
    auto& parent = command.group == nullptr ? app : group(command.group);
    auto* sub = parent.add_subcommand(command.name, command.description);
    sub->footer(std::string("Example:\n  ") + command.example);
    for (const auto& argument : argumentsOf(command)) {
        declare(*sub, argument);
    }
    sub->callback([this, &command] { chosen = &command; });
}

void Run::declareAll() {
    app.set_version_flag("--version", PONMGR_VERSION);
    app.add_option("--control", surroundings.control, "Where dbman listens for its clients")
        ->type_name(valueName(Kind::path))
        ->capture_default_str();
    app.footer("Example:\n  dbman serve --slots 1-4\n\"dbman COMMAND --help\" says more.");
    app.require_subcommand(mayBeConsole() ? 0 : 1, 1);
    for (const auto& row : groupTable()) {
        groups[row.name] = app.add_subcommand(row.name, row.description)->require_subcommand(1, 1);
        groups[row.name]->footer(footerOf(row));
    }
    for (const auto& command : commandTable()) {
        declare(command);
    }
}

bool Run::mayBeConsole() const {
    const bool inside = surroundings.interruption != nullptr;
    return !inside && surroundings.input >= 0 && surroundings.output >= 0;
}

void Run::act() {
    if (chosen == nullptr) {
        runConsole(surroundings);
    } else {
        chosen->act(*chosen, given, surroundings);
    }
}

ExitCode Run::fail(ExitCode code, const std::string& error) {
    if (json) {
        OrderedJson object = OrderedJson::object();
        object["error"] = error;
        out << printJson(object) << std::endl;
    } else {
        err << "dbman: " << error << std::endl;
    }
    return code;
}

ExitCode Run::handleParseError(const CLI::ParseError& error,
                               const std::vector<std::string>& arguments) {
    if (error.get_exit_code() == 0) {
        // --help or --version was asked for.
        app.exit(error, out, err);
        out << std::flush;
        return ExitCode::done;
    }
    const auto words = findCommand(arguments);
    return fail(ExitCode::usage,
                words.command == nullptr
                    ? words.error
                    : error.what() + ("; see dbman " + fullName(*words.command)) + " --help");
}

ExitCode Run::run(const std::vector<std::string>& arguments) {
    declareAll();
    // An error is JSON even when the command line can't be read to its end.
    json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        act();
        return ExitCode::done;
    } catch (const CLI::ParseError& error) {
        return handleParseError(error, arguments);
    } catch (const ArgumentError& error) {
        return fail(ExitCode::usage, error.what());
    } catch (const NotRunning& error) {
        return fail(ExitCode::notRunning, error.what());
    } catch (const std::runtime_error& error) {
        return fail(ExitCode::failed, error.what());
    }
}

}  // namespace

ExitCode runDbman(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    return Run(surroundings).run(arguments);
}

ExitCode runDbman(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    return runDbman(arguments, Surroundings{out, err});
}

}  // namespace ponmgr::dbman
