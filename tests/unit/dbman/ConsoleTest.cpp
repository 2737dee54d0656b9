#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "PseudoTerminal.h"
#include "ScriptedDbman.h"

namespace ponmgr::dbman {

namespace {

using test::Answers;
using test::PseudoTerminal;
using test::ScriptedDbman;
using testing::HasSubstr;

constexpr auto kPrompt = "dbman> ";
constexpr auto kSlotReset = R"({"command":"slot reset","slot":"3"})";
constexpr auto kTwoOnus =
    R"({"onus":[{"mac_address":"00:0d:b6:03:00:07"},{"mac_address":"00:0d:b6:03:00:1a"}]})";

ScriptedDbman answering() {
    return ScriptedDbman(Answers{{"slot reset", R"({"sent":[{"uri":"/slot/reset","data":{}}]})"},
                                 {"onu list", kTwoOnus},
                                 {"onu show", R"({"onu":{},"alarms":[],"optics":{}})"},
                                 {"send", R"({"sent":[]})"}});
}

/// A console whose first prompt is there, and a dbman that it can ask.
class Console : public testing::Test {
protected:
    void SetUp() override {
        dbman.start();
        ASSERT_TRUE(terminal.waitToShow(kPrompt));
    }

    /// Types a line and waits for the next prompt.
    void enter(const std::string& line) {
        terminal.type(line + "\r");
        ASSERT_TRUE(terminal.waitToShow("\n"));
        ASSERT_TRUE(terminal.waitToShow(kPrompt)) << terminal.shown();
    }

    std::string history() const {
        std::stringstream text;
        text << std::ifstream(PseudoTerminal::kHistoryFile).rdbuf();
        return text.str();
    }

    ScriptedDbman dbman = answering();
    PseudoTerminal terminal{{}};
};

TEST_F(Console, RunsACommandAsTheShellDoes) {
    enter("slot reset 3");
    EXPECT_THAT(dbman.requests(), testing::ElementsAre(kSlotReset));
    EXPECT_THAT(terminal.shown(), HasSubstr("sent /slot/reset"));
}

TEST_F(Console, ShowsAnErrorAndGoesOn) {
    enter("slot reset 9");
    EXPECT_THAT(terminal.shown(),
                HasSubstr("dbman: slot \"9\" is not allowed: a slot is a number"));
    enter("slot reset 3");
    EXPECT_THAT(dbman.requests(), testing::ElementsAre(kSlotReset));
}

TEST_F(Console, UnquotesWordsAsAShell) {
    enter(R"(send /any 'a=b c' "d=e\"f")");
    EXPECT_THAT(
        dbman.requests(),
        testing::ElementsAre(R"({"command":"send","data":{"a":"b c","d":"e\"f"},"uri":"/any"})"));
}

TEST_F(Console, RefusesALineWhoseQuoteIsOpen) {
    enter("send /any 'a=b");
    EXPECT_THAT(terminal.shown(), HasSubstr("a quote isn't closed"));
    EXPECT_THAT(dbman.requests(), testing::IsEmpty());
}

TEST_F(Console, TakesCharactersBeyondAscii) {
    enter("send /any name=M\xC3\xBCller");
    EXPECT_THAT(
        dbman.requests(),
        testing::ElementsAre(
            "{\"command\":\"send\",\"data\":{\"name\":\"M\xC3\xBCller\"},\"uri\":\"/any\"}"));
}

TEST_F(Console, CompletesACommandAtTab) {
    enter("slot res\t3");
    EXPECT_THAT(dbman.requests(), testing::ElementsAre(kSlotReset));
}

TEST_F(Console, CompletesAnOnuThatTheRunningDbmanKnows) {
    enter("onu show 00\t1\t");
    EXPECT_TRUE(dbman.waitForRequest(R"({"command":"onu show","mac":"00:0d:b6:03:00:1a"})"));
}

TEST_F(Console, ShowsTheChoicesAtTab) {
    terminal.type("slot \t");
    EXPECT_TRUE(
        terminal.waitToShow("announce  clear     disable   enable    list      reset     set\r\n"));
    EXPECT_TRUE(terminal.waitToShow("dbman> slot "));
}

TEST_F(Console, TheUpKeyBringsTheLastLineBack) {
    enter("slot reset 3");
    enter("\x1b[A");
    EXPECT_THAT(dbman.requests(), testing::ElementsAre(kSlotReset, kSlotReset));
}

TEST_F(Console, KeepsItsHistoryInAPrivateFile) {
    enter("slot reset 3");
    EXPECT_THAT(history(), HasSubstr("slot\\040reset\\0403\n"));
    struct stat file {};
    ASSERT_EQ(stat(PseudoTerminal::kHistoryFile, &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0600U);
}

TEST_F(Console, CtrlCCancelsTheLine) {
    terminal.type("slot reset 3");
    ASSERT_TRUE(terminal.waitToShow("slot reset 3"));
    terminal.type("\x03");
    ASSERT_TRUE(terminal.waitToShow("^C"));
    ASSERT_TRUE(terminal.waitToShow(kPrompt));
    enter("");
    EXPECT_THAT(dbman.requests(), testing::IsEmpty());
}

TEST_F(Console, CtrlCEndsTheEventsAndLeavesTheConsole) {
    dbman.script("events", R"({"events":[{"id":7,"time":"T","text":"hello"}],"last_id":7})");
    terminal.type("events --follow\r");
    ASSERT_TRUE(terminal.waitToShow("T hello"));
    ASSERT_TRUE(dbman.waitForRequest(R"({"after":7,"command":"events"})"));
    terminal.type("\x03");
    ASSERT_TRUE(terminal.waitToShow(kPrompt));
    enter("slot reset 3");
    EXPECT_TRUE(dbman.waitForRequest(kSlotReset));
}

TEST_F(Console, CtrlDEndsIt) {
    terminal.type("\x04");
    EXPECT_EQ(terminal.waitForEnd(), 0);
}

TEST_F(Console, QuitEndsIt) {
    terminal.type("quit\r");
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_THAT(history(), HasSubstr("quit"));
}

TEST_F(Console, HelpNamesTheCommandsAndHowToEnd) {
    enter("help");
    EXPECT_THAT(terminal.shown(), HasSubstr("Plot the level that an ONU receives"));
    EXPECT_THAT(terminal.shown(), HasSubstr("\"quit\" or Ctrl-D ends"));
    enter("help slot set");
    EXPECT_THAT(terminal.shown(), HasSubstr("dbman slot set 3 --ip"));
}

TEST_F(Console, DoesNotServe) {
    enter("serve");
    EXPECT_THAT(terminal.shown(), HasSubstr("dbman: serve is not for the console"));
}

TEST(ConsoleHistory, HoldsTheLastThousandLinesOfEarlierRuns) {
    std::filesystem::create_directories("/tmp/state/ponmgr");
    {
        std::ofstream file(PseudoTerminal::kHistoryFile);
        file << "_HiStOrY_V2_\n";
        for (int number = 1; number <= 1500; ++number) {
            file << "slot\\040reset\\040" << number << "\n";
        }
    }
    PseudoTerminal terminal({});
    ASSERT_TRUE(terminal.waitToShow(kPrompt));
    terminal.type("quit\r");
    ASSERT_EQ(terminal.waitForEnd(), 0);
    std::ifstream file(PseudoTerminal::kHistoryFile);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    ASSERT_EQ(lines.size(), 1001U);
    EXPECT_EQ(lines[1], "slot\\040reset\\040502");
    EXPECT_EQ(lines.back(), "quit");
}

TEST(EventsAtATerminal, CtrlCEndsThemWithZero) {
    ScriptedDbman dbman(Answers{{"events", R"({"events":[{"id":7,"text":"hello"}],"last_id":7})"}});
    PseudoTerminal terminal({"events", "--follow", "--limit", "20"});
    dbman.start();
    ASSERT_TRUE(terminal.waitToShow("hello"));
    ASSERT_TRUE(dbman.waitForRequest(R"({"command":"events","limit":20})"));
    terminal.type("\x03");
    EXPECT_EQ(terminal.waitForEnd(), 0);
}

TEST(EventsAtATerminal, GoOnWhenDbmanIsBack) {
    const Answers answers{{"events", R"({"events":[{"id":7,"text":"hello"}],"last_id":7})"}};
    auto dbman = std::make_unique<ScriptedDbman>(answers);
    PseudoTerminal terminal({"events", "--follow"});
    dbman->start();
    ASSERT_TRUE(terminal.waitToShow("hello"));
    dbman.reset();
    ASSERT_TRUE(terminal.waitToShow("dbman at /tmp/dbman.ctl has gone; waiting for it"));
    ScriptedDbman back(Answers{{"events", R"({"events":[{"id":8,"text":"again"}],"last_id":8})"}});
    back.start();
    ASSERT_TRUE(terminal.waitToShow("again"));
    terminal.type("\x03");
    EXPECT_EQ(terminal.waitForEnd(), 0);
}

TEST(CommandAtATerminal, FitsItsTableToTheWindow) {
    ScriptedDbman dbman(Answers{{"onu list", R"({"onus":[{"mac_address":"00:0d:b6:03:00:07",)"
                                             R"("slot_id":"3","pon_port":"1","state":"on-line",)"
                                             R"("tx_power_input":"-14.20"}]})"}});
    PseudoTerminal terminal({"onu", "list"}, 60, 24);
    dbman.start();
    ASSERT_EQ(terminal.waitForEnd(), 0);
    EXPECT_EQ(terminal.shown(),
              "MAC                slot  port  state    power in  alarms\r\n"
              "00:0d:b6:03:00:07  3     1     on-line  -14.20    -\r\n"
              "(no room for: provisioned, last report, ethernet, power out)\r\n");
}

}  // namespace

}  // namespace ponmgr::dbman
