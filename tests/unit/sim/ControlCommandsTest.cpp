#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <ostream>

#include "RunningSimulator.h"
#include "sim/ControlCommands.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {
namespace {

using testing::HasSubstr;

Finished run(const std::vector<std::string>& words, bool json = false,
             Duration timeout = Duration::zero()) {
    return runControlCommand({words, RunningSimulator::kControlPath, timeout, json});
}

TEST(ControlCommands, ListPrintsATableWithOneRowACard) {
    const RunningSimulator running;
    const auto end = run({"list"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(
        end.output,
        "slot  address    state    nvs  marker  enabled  domains  onus  discovered  provisioned  "
        "requests  muted  faults\n"
        "1     127.0.1.1  factory  on   no      yes      0        0     0           0            "
        "0         no     0\n"
        "2     127.0.1.2  factory  on   no      yes      0        0     0           0            "
        "0         no     0\n");
}

TEST(ControlCommands, ListPrintsAnObjectWithTheCardsAsJson) {
    const RunningSimulator running;
    const auto end = run({"list"}, true);
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(Json::parse(end.output).at("cards").size(), 2U);
}

TEST(ControlCommands, ActOnOneCard) {
    const RunningSimulator running;
    EXPECT_EQ(run({"card", "1", "mute"}).output, "slot 1: done\n");
    EXPECT_EQ(Json::parse(run({"card", "1", "get"}, true).output).at("muted"), true);
    EXPECT_EQ(run({"card", "1", "unmute"}).output, "slot 1: done\n");
    EXPECT_EQ(Json::parse(run({"card", "1", "get"}, true).output).at("muted"), false);
    EXPECT_EQ(run({"card", "2", "product-code", "3724"}).status, 0);
    EXPECT_THAT(run({"card", "2", "get"}).output, HasSubstr("product_code: 3724\n"));
    EXPECT_EQ(run({"card", "2", "reset"}).output, "slot 2: resetting\n");
}

TEST(ControlCommands, PullInsertAndSwapACard) {
    const RunningSimulator running;
    EXPECT_EQ(run({"card", "1", "pull"}).output, "slot 1: absent\n");
    EXPECT_EQ(run({"card", "1", "reset"}).errorOutput,
              "chassis-sim: slot 1 is empty; insert the card first\n");
    ControlOptions insert{{"card", "1", "insert"}, RunningSimulator::kControlPath, {}, false};
    insert.named = {{"product-code", "3724"}, {"factory", "on"}};
    EXPECT_EQ(runControlCommand(insert).output, "slot 1: resetting\n");
    EXPECT_THAT(run({"card", "1", "get"}).output, HasSubstr("product_code: 3724\n"));
    EXPECT_EQ(run({"card", "1", "swap"}).output, "slot 1: resetting\n");
    EXPECT_THAT(run({"truth"}).output,
                testing::StartsWith("slot  mac                online  managed\n"
                                    "1     00:0d:b6:00:01:01  no      yes\n"
                                    "2     00:0d:b6:00:00:02  yes     yes\n"));
    EXPECT_EQ(run({"scenario", "status"}).output, "no scenario\n");
}

TEST(ControlCommands, RefuseACardsOptionsWhereTheyMeanNothing) {
    ControlOptions options{{"card", "1", "reset"}, RunningSimulator::kControlPath, {}, false};
    options.named = {{"factory", "on"}};
    EXPECT_THAT(runControlCommand(options).errorOutput, HasSubstr("takes no --factory"));
    options.words = {"card", "1", "swap"};
    EXPECT_THAT(runControlCommand(options).errorOutput, HasSubstr("its options: --product-code"));
    options.words = {"card", "1", "insert"};
    options.named = {{"factory", "on"}, {"as-it-was", "on"}};
    EXPECT_THAT(runControlCommand(options).errorOutput, HasSubstr("allowed: one of the two"));
    options.named = {{"product-code", "37"}};
    EXPECT_THAT(runControlCommand(options).errorOutput, HasSubstr("four hex digits"));
}

TEST(ControlCommands, FailWithStatusOneWhenTheSimulatorRefuses) {
    const RunningSimulator running;
    const auto end = run({"card", "5", "reset"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.errorOutput, "chassis-sim: no card in slot 5; there are: 1, 2\n");
    EXPECT_EQ(run({"card", "5", "reset"}, true).output,
              "{\"error\":\"no card in slot 5; there are: 1, 2\"}\n");
}

TEST(ControlCommands, FailWithStatusOneWhenNoSimulatorRuns) {
    const auto end = run({"list"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(
        end.errorOutput,
        "chassis-sim: no simulator answers at /tmp/sim.ctl: No such file or directory; start one "
        "with: chassis-sim, or name its socket with --control\n");
}

TEST(ControlCommands, WaitSaysWhichCardsAreNotInService) {
    const RunningSimulator running;
    const auto end = run({"wait", "in-service"}, false, std::chrono::milliseconds(5));
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.errorOutput,
              "chassis-sim: time is up; not in service: slot 1: NVS is on, not marked as "
              "configured; slot 2: NVS is on, not marked as configured\n");
}

TEST(ControlCommands, WaitSucceedsWhenAllCardsAreInService) {
    auto options = RunningSimulator::defaults();
    options.chassis.configured = true;
    const RunningSimulator running(options);
    const auto end = run({"wait", "in-service"}, false, std::chrono::minutes(1));
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.output, "in service: 2 cards\n");
}

struct Misuse {
    std::string name;
    std::vector<std::string> words;
    std::string text;
};

void PrintTo(const Misuse& misuse, std::ostream* output) {
    *output << misuse.name;
}

const Misuse kMisuses[] = {
    {"Nothing", {}, "no command; there are: list, card, wait, onu, alarm, event"},
    {"UnknownCommand",
     {"fly"},
     "unknown command 'fly'; there are: list, card, wait, onu, alarm, event"},
    {"TooManyWords", {"list", "all"}, "usage: chassis-sim ctl list"},
    {"NoAction",
     {"card", "1"},
     "actions: get, reset, pull, insert, swap, mute, unmute, product-code, cut, "
     "restore, leftover-path"},
    {"UnknownAction", {"card", "1", "fly"}, "unknown action 'fly'; there are: get, reset, pull"},
    {"NoSlot", {"card", "9", "get"}, "card: '9' can't be used; allowed: a slot from 1 to 8"},
    {"NoValue", {"card", "1", "product-code"}, "usage: chassis-sim ctl card N product-code VALUE"},
    {"BadValue", {"card", "1", "product-code", "x"}, "allowed: four hex digits"},
    {"SwapWithWords", {"card", "1", "swap", "now"}, "usage: chassis-sim ctl card N swap"},
    {"TruthWithWords", {"truth", "now"}, "usage: chassis-sim ctl truth"},
    {"ScenarioAlone", {"scenario"}, "usage: chassis-sim ctl scenario status"},
    {"ScenarioWord", {"scenario", "stop"}, "unknown word 'stop'; there is: status"},
    {"WaitForWhat", {"wait"}, "usage: chassis-sim ctl wait in-service"},
    {"WaitForRain", {"wait", "rain"}, "can't wait for 'rain'; there is: in-service"},
};

class MisusedControlCommands : public testing::TestWithParam<Misuse> {};

TEST_P(MisusedControlCommands, AreRefusedWithWhatThereIs) {
    const auto plain = run(GetParam().words);
    EXPECT_EQ(plain.status, 2);
    EXPECT_THAT(plain.errorOutput, HasSubstr(GetParam().text));
    const auto json = run(GetParam().words, true);
    EXPECT_EQ(json.status, 2);
    EXPECT_EQ(json.errorOutput, "");
    EXPECT_THAT(Json::parse(json.output).at("error").get<std::string>(),
                HasSubstr(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(All, MisusedControlCommands, testing::ValuesIn(kMisuses),
                         [](const auto& misuse) { return misuse.param.name; });

}  // namespace
}  // namespace ponmgr::sim
