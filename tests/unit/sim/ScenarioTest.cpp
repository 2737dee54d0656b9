#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <sstream>

#include "sim/CommandHelp.h"
#include "sim/OptionValues.h"
#include "sim/Scenario.h"
#include "sim/ScenarioLine.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// Slots 1 and 3 with four ONUs at a port.
Scenario parsed(const std::string& text) {
    ChassisSettings settings;
    settings.slots = {1, 3};
    settings.onusPerPort = 4;
    std::istringstream input(text);
    return parseScenario(input, "day.jsonl", settings);
}

std::string mistakeIn(const std::string& text) {
    try {
        parsed(text);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

TEST(Scenario, TakesTheWordsOfACommand) {
    const auto scenario = parsed(R"({"at":"12s","ctl":"card 3 cut 1"})");
    ASSERT_EQ(scenario.steps.size(), 1U);
    EXPECT_EQ(scenario.steps[0].line, 1);
    EXPECT_EQ(scenario.steps[0].at, 12s);
    EXPECT_EQ(scenario.steps[0].request.dump(),
              R"({"verb":"fibre","port":1,"state":"cut","card":3})");
}

TEST(Scenario, TakesAControlRequestAsItIs) {
    const auto scenario = parsed(R"({"at":0.5,"verb":"reset","card":3})");
    EXPECT_EQ(scenario.steps.at(0).at, 500ms);
    EXPECT_EQ(scenario.steps[0].request.dump(), R"({"verb":"reset","card":3})");
}

TEST(Scenario, TakesACommandWithItsOptions) {
    const auto scenario =
        parsed(R"({"at":0,"ctl":"fault add drop --card 3 --request 'Get OLT Information'"})");
    EXPECT_EQ(scenario.steps.at(0).request.dump(),
              R"({"verb":"fault","action":"add","kind":"drop",)"
              R"("options":{"card":"3","request":"Get OLT Information"}})");
}

TEST(Scenario, BeginsAPhaseThatCountsItsTimesAnew) {
    const auto scenario = parsed(
        "{\"at\":9,\"ctl\":\"list\"}\n\n"
        "{\"after\":\"in-service\",\"timeout\":\"30s\",\"ctl\":\"list\"}\n"
        "{\"at\":1,\"note\":\"n\",\"ctl\":\"list\"}\n");
    ASSERT_EQ(scenario.steps.size(), 5U);
    EXPECT_TRUE(scenario.steps[1].beginsPhase);
    EXPECT_EQ(scenario.steps[1].line, 3);
    EXPECT_EQ(scenario.steps[1].request.dump(),
              R"({"verb":"wait","for":"in-service","timeout_ms":30000})");
    EXPECT_EQ(scenario.steps[2].at, 0s);
    EXPECT_TRUE(scenario.steps[3].request.is_null());
    EXPECT_EQ(scenario.steps[3].text, "n");
    EXPECT_EQ(scenario.steps[4].at, 1s);
}

TEST(Scenario, TakesTheExampleOfEveryCommand) {
    for (const auto& help : commandHelp()) {
        std::istringstream input(Json{{"at", 1}, {"ctl", help.example}}.dump());
        const auto scenario = parseScenario(input, "day.jsonl", {});
        ASSERT_EQ(scenario.steps.size(), 1U) << help.example;
        EXPECT_TRUE(scenario.steps[0].request.contains("verb")) << help.example;
        EXPECT_NE(scenario.steps[0].print, nullptr) << help.example;
    }
}

TEST(Scenario, SplitsWordsAtBlanksOutsideQuotes) {
    EXPECT_THAT(splitWords("  a  \"b c\" 'd \" e'f\t\"\""), ElementsAre("a", "b c", "d \" ef", ""));
    EXPECT_THAT(splitWords(" "), IsEmpty());
}

struct Mistake {
    std::string name;
    std::string line;
    std::string text;
};

void PrintTo(const Mistake& mistake, std::ostream* output) {
    *output << mistake.name;
}

const Mistake kMistakes[] = {
    {"NoJson", "at 12s card 3 reset", "no JSON object; allowed: one a line, such as {"},
    {"NoObject", "[]", "no JSON object"},
    {"Nothing", R"({"at":1})", "nothing to do; allowed: a \"ctl\", a \"verb\""},
    {"NoTime", R"({"ctl":"list"})", "\"at\" is missing; allowed: seconds, or a time such as 12s"},
    {"TimeWithoutUnit", R"({"at":"12","ctl":"list"})", "at: '12' can't be used; allowed"},
    {"TimeBelowZero", R"({"at":-1,"ctl":"list"})", "seconds from 0 to 86400"},
    {"TimeTooLarge", R"({"at":86401,"ctl":"list"})", "seconds from 0 to 86400"},
    {"TimeNoNumber", R"({"at":true,"ctl":"list"})", "seconds from 0 to 86400"},
    {"TimeGoesBack", R"({"at":0,"ctl":"list"})", "\"at\" is earlier than in the line before"},
    {"UnknownMember", R"({"at":1,"do":"list"})",
     "unknown member 'do'; there are: at, after, timeout, note, ctl"},
    {"AfterRain", R"({"after":"rain"})", "\"after\" can't be used so; allowed: in-service"},
    {"TimeoutAlone", R"({"at":1,"ctl":"list","timeout":"1s"})", "allowed: with \"after\""},
    {"TimeoutWord", R"({"after":"in-service","timeout":"soon"})", "us, ms or s"},
    {"NoteNumber", R"({"note":7})", "allowed: a text"},
    {"CommandEmpty", R"({"at":1,"ctl":" "})", "such as card 3 reset"},
    {"CommandList", R"({"at":1,"ctl":["list"]})", "such as card 3 reset"},
    {"CommandUnknown", R"({"at":1,"ctl":"fly"})", "unknown command 'fly'; there are: list, card"},
    {"ActionUnknown", R"({"at":1,"ctl":"card 3 fly"})", "unknown action 'fly'; there are: get"},
    {"OptionUnknown", R"({"at":1,"ctl":"list --fly"})", "--fly"},
    {"QuoteOpen", R"({"at":1,"ctl":"alarm 'x"})", "a quote isn't closed"},
    {"ControlPath", R"({"at":1,"ctl":"list --control /tmp/x"})", "--control can't be used"},
    {"Follow", R"({"at":1,"ctl":"journal --follow"})", "--follow can't be used"},
    {"Help", R"({"at":1,"ctl":"onu list --help"})", "--help can't be used in a scenario"},
    {"OptionUnknownAsJson", R"({"at":1,"ctl":"list --json --fly"})", "--fly"},
    {"BothKinds", R"({"at":1,"ctl":"list","verb":"list"})", "allowed: one of the two"},
    {"VerbUnknown", R"({"at":1,"verb":"fly"})", "unknown verb 'fly'; there are: list, get"},
    {"VerbNumber", R"({"at":1,"verb":7})", "unknown verb '7'"},
    {"NoSuchCard", R"({"at":1,"ctl":"card 2 reset"})", "no card in slot 2; there are: 1, 3"},
    {"NoSuchOnu", R"({"at":1,"ctl":"onu 3/0/4 plug"})", "no ONU 3/0/4; there are 4 at a port"},
    {"NoSuchPort", R"({"at":1,"ctl":"onu list 2/0"})", "no card in slot 2"},
    {"NoSuchTarget", R"({"at":1,"ctl":"alarm 2/0 17 raise"})", "no card in slot 2"},
    {"NoSuchFaultCard", R"({"at":1,"ctl":"fault add drop --card 2"})", "no card in slot 2"},
};

class Mistakes : public testing::TestWithParam<Mistake> {};

TEST_P(Mistakes, AreReportedWithTheirLineAndWhatIsAllowed) {
    const auto text = mistakeIn("{\"at\":1,\"ctl\":\"list\"}\n\n" + GetParam().line + '\n');
    EXPECT_THAT(text, StartsWith("day.jsonl:3: "));
    EXPECT_THAT(text, HasSubstr(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(All, Mistakes, testing::ValuesIn(kMistakes),
                         [](const auto& mistake) { return mistake.param.name; });

TEST(Scenario, WithoutAStepIsAMistake) {
    EXPECT_EQ(mistakeIn("\n \n"),
              "day.jsonl: no steps; allowed: at least one line with one JSON object");
}

TEST(Scenario, ThatCannotBeReadIsAMistake) {
    EXPECT_THROW(readScenario("/nowhere/day.jsonl", {}), UsageError);
    EXPECT_THROW(readScenario("/", {}), UsageError);
}

}  // namespace
}  // namespace ponmgr::sim
