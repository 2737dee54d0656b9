#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "MistakenWords.h"
#include "sim/CommandHelp.h"
#include "sim/CommandOptions.h"
#include "sim/ControlCommand.h"
#include "sim/OptionValues.h"
#include "sim/ScenarioLine.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {
namespace {

using testing::HasSubstr;

std::string helpOf(const std::vector<std::string>& arguments) {
    const auto line = parseCommandLine(arguments);
    return std::get<Finished>(line).output;
}

TEST(CommandHelp, ShowsEveryCommandWithAnExample) {
    const auto commands = wordsThere({"fly"});
    EXPECT_GE(commands.size(), 10U);
    for (const auto& command : commands) {
        EXPECT_TRUE(std::ranges::any_of(commandHelp(), [&](const CommandHelp& help) {
            return help.name == command;
        })) << command;
    }
    EXPECT_THAT(helpOf({"ctl", "--help"}), HasSubstr("chassis-sim ctl onu 3/0/7 move 5/1\n"));
}

TEST(CommandHelp, ShowsExamplesThatWork) {
    for (const auto& help : commandHelp()) {
        std::vector<std::string> arguments{"ctl"};
        for (const auto& word : splitWords(help.example)) {
            arguments.push_back(word);
        }
        const auto line = parseCommandLine(arguments);
        const auto* options = std::get_if<ControlOptions>(&line);
        ASSERT_NE(options, nullptr) << help.example;
        EXPECT_NO_THROW(controlCommand(*options)) << help.example;
        EXPECT_TRUE(std::string(help.example).starts_with(help.name));
        EXPECT_TRUE(std::string(help.synopsis).starts_with(help.name));
    }
}

TEST(CommandHelp, NamesEveryCommandWhereItSaysWhatACommandIs) {
    const auto text = helpOf({"ctl", "--help"});
    const auto names = text.substr(0, text.find("Commands:"));
    for (const auto& command : wordsThere({"fly"})) {
        EXPECT_THAT(names, HasSubstr(command + (command == "scenario" ? "" : " "))) << command;
    }
}

TEST(CommandHelp, ShowsEachCommandOnce) {
    for (const auto& one : commandHelp()) {
        const auto same = std::ranges::count(commandHelp(), std::string_view(one.example),
                                             [](const CommandHelp& help) { return help.example; });
        EXPECT_EQ(same, 1) << one.example;
    }
    EXPECT_THAT(controlHelp(), testing::Not(HasSubstr("list|kinds")));
}

TEST(CommandHelp, OfCardsAndOnusNamesEveryAction) {
    const auto text = controlHelp();
    for (const auto& kind : {Words{"card", "1", "fly"}, Words{"onu", "1/0/0", "fly"}}) {
        for (const auto& action : wordsThere(kind)) {
            EXPECT_THAT(text, HasSubstr(action));
        }
    }
}

/// The manual page without the marks of its type setting.
std::string manualPage() {
    std::ifstream file(CHASSIS_SIM_MANUAL);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const std::string mark : {"\\fR", "\\fB", "\\fI", "\\", "\""}) {
        for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark)) {
            text.erase(at, mark.size());
        }
    }
    return text;
}

/// "--name" behind a mark of its own, not within another word.
testing::Matcher<const std::string&> showsEntry(const std::string& name) {
    return testing::ContainsRegex("\n\\.(B|BI|BR) " + name + "( |\n|,)");
}

TEST(ManualPage, ShowsEveryKindOfFaultAndEveryOption) {
    const auto page = manualPage();
    for (const auto& kind : faultKinds()) {
        EXPECT_THAT(page, showsEntry(kind.name));
    }
    for (const auto& option : faultOptions()) {
        EXPECT_THAT(page, showsEntry(std::string("--") + option.name));
    }
    for (const auto& option : commandOptions()) {
        EXPECT_THAT(page, HasSubstr(std::string("--") + option.name));
    }
    std::istringstream help(helpOf({"--help"}));
    for (std::string line; std::getline(help, line);) {
        const auto begin = line.find("  --");
        if (begin != std::string::npos) {
            const auto name =
                line.substr(begin + 2, line.find_first_of(" ,", begin + 2) - begin - 2);
            EXPECT_THAT(page, HasSubstr(name));
        }
    }
}

TEST(ManualPage, ShowsEveryCommand) {
    const auto page = manualPage();
    for (const auto& command : wordsThere({"fly"})) {
        EXPECT_THAT(page, showsEntry(command));
    }
    for (const auto& kind :
         {Words{"card", "1", "fly"}, Words{"onu", "1/0/0", "fly"}, Words{"fault", "fly"}}) {
        for (const auto& action : wordsThere(kind)) {
            EXPECT_THAT(page, testing::ContainsRegex("\n\\.(B|BI|BR) " + kind.front() +
                                                     "[^\n]*[ |]" + action + "( |\\||\n)"));
        }
    }
}

}  // namespace
}  // namespace ponmgr::sim
