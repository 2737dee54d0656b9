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

Finished run(const std::vector<std::string>& words, bool json = false) {
    return runControlCommand({words, RunningSimulator::kControlPath, Duration::zero(), json});
}

/// Two configured cards with two registered ONUs at each port.
ServeOptions withOnus() {
    auto options = RunningSimulator::defaults();
    options.chassis.configured = true;
    options.chassis.onusPerPort = 2;
    options.chassis.discoveryInterval = Duration::zero();
    return options;
}

TEST(OnuCommands, ListPrintsATable) {
    const RunningSimulator running(withOnus());
    EXPECT_EQ(run({"onu", "list", "2/1"}).output,
              "onu    mac                slot  port  state    known  provisioned  ethernet  vlan\n"
              "2/1/0  00:0d:b6:02:01:00  2     1     on-line  yes    yes          up        0\n"
              "2/1/1  00:0d:b6:02:01:01  2     1     on-line  yes    yes          up        0\n");
    EXPECT_EQ(Json::parse(run({"onu", "list"}, true).output).at("onus").size(), 8U);
}

TEST(OnuCommands, ActOnOneOnu) {
    const RunningSimulator running(withOnus());
    EXPECT_EQ(run({"onu", "1/0/1", "unplug"}).output, "onu 1/0/1: unplugged\n");
    EXPECT_EQ(run({"onu", "1/0/1", "plug"}).status, 0);
    EXPECT_EQ(run({"onu", "1/0/0", "power-off"}).output, "onu 1/0/0: powered-off\n");
    EXPECT_EQ(run({"onu", "1/0/0", "power-on"}).status, 0);
    EXPECT_EQ(run({"onu", "1/1/0", "fade", "2.5"}).output, "onu 1/1/0: on-line\n");
    EXPECT_EQ(run({"onu", "1/1/0", "move", "0"}).output, "onu 1/1/0: on-line\n");
    const auto details = Json::parse(run({"onu", "1/1/0", "get"}, true).output);
    EXPECT_EQ(details.at("fade_db"), 2.5);
    EXPECT_EQ(details.at("port"), 0);
}

TEST(OnuCommands, CutAndRestoreAFibre) {
    const RunningSimulator running(withOnus());
    EXPECT_EQ(run({"card", "2", "cut", "1"}).output, "slot 2 port 1: fibre cut\n");
    EXPECT_THAT(run({"onu", "list", "2"}).output, HasSubstr("fibre-cut"));
    EXPECT_EQ(run({"card", "2", "restore", "1"}).output, "slot 2 port 1: fibre restored\n");
    EXPECT_EQ(run({"card", "2", "leftover-path", "9", "2"}).output, "slot 2: done\n");
}

TEST(OnuCommands, AlarmAndEventReachTheManager) {
    const RunningSimulator running(withOnus());
    const Manager manager;
    manager.send("127.0.1.2", "0008 0001 0000");
    ASSERT_EQ(manager.receive(), "0008000100020000");
    EXPECT_EQ(run({"alarm", "2/0/1", "Loss of Signal", "raise"}).output,
              "slot 2: Loss of Signal (17) raise, sequence 1\n");
    EXPECT_EQ(manager.receive(), "801a0000000f0000000103000db602000111010100");
    EXPECT_EQ(run({"event", "2", "802b0000"}).output, "slot 2: sent 4 bytes\n");
    EXPECT_EQ(manager.receive(), "802b0000");
    EXPECT_EQ(run({"alarm", "1/0", "Loss of Signal", "raise"}).errorOutput,
              "chassis-sim: no manager has spoken to slot 1 yet\n");
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
    {"OnuAlone", {"onu"}, "actions: get, unplug, plug, power-off, power-on, fade, move"},
    {"OnuWithoutAction", {"onu", "1/0/0"}, "usage: chassis-sim ctl onu"},
    {"OnuUnknownAction", {"onu", "1/0/0", "fly"}, "unknown action 'fly'"},
    {"OnuBadAddress", {"onu", "1/0", "get"}, "allowed: SLOT/PORT/INDEX"},
    {"OnuBadIndex", {"onu", "1/0/124", "get"}, "a whole number from 0 to 123"},
    {"FadeWithoutValue", {"onu", "1/0/0", "fade"}, "fade VALUE"},
    {"FadeTooMuch", {"onu", "1/0/0", "fade", "61"}, "0 to 60 decibels"},
    {"FadeNoNumber", {"onu", "1/0/0", "fade", "nan"}, "0 to 60 decibels"},
    {"MoveNowhere", {"onu", "1/0/0", "move", "2"}, "a whole number from 0 to 1"},
    {"MoveToNoSlot", {"onu", "1/0/0", "move", "9/1"}, "a slot from 1 to 8"},
    {"MoveToNoPort", {"onu", "1/0/0", "move", "2/2"}, "a whole number from 0 to 1"},
    {"MoveTooFar", {"onu", "1/0/0", "move", "2/1/0"}, "SLOT/PORT, such as 5/1"},
    {"UnplugTooManyWords", {"onu", "1/0/0", "unplug", "now"}, "usage: chassis-sim ctl onu"},
    {"ListOfNothing", {"onu", "list", "9"}, "a slot from 1 to 8"},
    {"ListTooManyWords", {"onu", "list", "1", "2"}, "usage: chassis-sim ctl onu list"},
    {"AlarmUnknown", {"alarm", "1/0", "Rain", "raise"}, "Loss of Signal"},
    {"AlarmState", {"alarm", "1/0", "16", "on"}, "unknown state 'on'; there are: raise, clear"},
    {"AlarmTarget", {"alarm", "1", "16", "raise"}, "a port such as 3/0, 3/nni-1"},
    {"AlarmTooFewWords", {"alarm", "1/0", "16"}, "usage: chassis-sim ctl alarm"},
    {"EventOddDigits", {"event", "1", "801"}, "pairs of hex digits"},
    {"EventNoSlot", {"event", "0", "8019"}, "a slot from 1 to 8"},
    {"CutNoPort", {"card", "1", "cut"}, "usage: chassis-sim ctl card N cut VALUE"},
    {"CutBadPort", {"card", "1", "cut", "2"}, "a whole number from 0 to 1"},
    {"PathTooFewValues", {"card", "1", "leftover-path", "9"}, "leftover-path VALUE VALUE"},
};

class MisusedOnuCommands : public testing::TestWithParam<Misuse> {};

TEST_P(MisusedOnuCommands, AreRefusedWithWhatThereIs) {
    const auto end = run(GetParam().words);
    EXPECT_EQ(end.status, 2);
    EXPECT_THAT(end.errorOutput, HasSubstr(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(All, MisusedOnuCommands, testing::ValuesIn(kMisuses),
                         [](const auto& misuse) { return misuse.param.name; });

}  // namespace
}  // namespace ponmgr::sim
