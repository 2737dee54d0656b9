#include "PseudoTerminal.h"
#include "RunningServer.h"
#include "ScriptedDbman.h"

namespace ponmgr::dbman {

namespace {

using test::Answers;
using test::PseudoTerminal;
using test::runProgram;
using test::ScriptedDbman;
using testing::HasSubstr;

constexpr auto kCtrlC = "\x03";
constexpr auto kUsualScreen = "\x1b[?25h\x1b[?1049l";

Answers twoCards() {
    return {{"card list", R"({"cards":[)"
                          R"({"slot_id":"1","ip_address":"127.0.1.1","state":"on-line"},)"
                          R"({"slot_id":"2","ip_address":"127.0.1.2","state":"off-line"}]})"},
            {"onu list", R"({"onus":[{"slot_id":"1","state":"on-line","tx_power_input":"-14.20"},)"
                         R"({"slot_id":"1","state":"on-line","tx_power_input":"-27.31"},)"
                         R"({"slot_id":"1","state":"off-line","tx_power_input":"-39.00"}]})"},
            {"alarm list", R"({"alarms":[{"slot_id":"1"},{"slot_id":"1"}]})"},
            {"events", R"({"events":[{"id":1,"time":"T1","text":"one"},)"
                       R"({"id":2,"time":"T2","text":"two"}],"last_id":2})"},
            {"status", R"({"daemon":"listens"})"}};
}

/// The lines of the last whole picture that a terminal was sent.
std::vector<std::string> lastPicture(const std::string& shown) {
    const std::string begin = "\x1b[H";
    const std::string end = "\x1b[J";
    const auto last = shown.rfind(end);
    const auto first = shown.rfind(begin, last) + begin.size();
    std::vector<std::string> lines;
    std::string line;
    for (const char character : shown.substr(first, last - first)) {
        line += character;
        if (line.ends_with("\x1b[K")) {
            line.erase(line.size() - 3);
            lines.push_back(line.substr(line.find_first_not_of("\r\n") == std::string::npos
                                            ? line.size()
                                            : line.find_first_not_of("\r\n")));
            line.clear();
        }
    }
    return lines;
}

TEST(Watch, IntoAPipeIsOnePicture) {
    ScriptedDbman dbman(twoCards());
    dbman.start();
    const auto outcome = runProgram({"watch"});
    EXPECT_EQ(outcome.code, ExitCode::done);
    EXPECT_EQ(outcome.out.substr(outcome.out.find('\n') + 1),
              "slot  address    state     ONUs  worst dBm  alarms  firmware  MAC\n"
              "1     127.0.1.1  on-line   2/3   -27.31     2       -         -\n"
              "2     127.0.1.2  off-line  0/0   -          0       -         -\n"
              "\n"
              "T1 one\n"
              "T2 two\n");
    EXPECT_THAT(
        dbman.requests(),
        testing::ElementsAre(R"({"command":"card list"})", R"({"command":"onu list"})",
                             R"({"active":true,"command":"alarm list"})",
                             R"({"command":"events","limit":10})", R"({"command":"status"})"));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("daemon")));
}

TEST(Watch, SaysInItsTitleThatTheDaemonIsNotThere) {
    auto answers = twoCards();
    answers["status"] = R"({"daemon":"not there"})";
    ScriptedDbman dbman(answers);
    dbman.start();
    EXPECT_THAT(runProgram({"watch"}).out,
                testing::MatchesRegex("dbman at [^\n]*; the daemon is not there\n(.|\n)*"));
}

TEST(Watch, MarksACardThatWasLastReportedBeforeTheStart) {
    auto answers = twoCards();
    answers["card list"] =
        R"({"cards":[{"slot_id":"1","state":"on-line","last_report":"T","reported_since_start":false},)"
        R"({"slot_id":"2","state":"on-line","last_report":"T","reported_since_start":true},)"
        R"({"slot_id":"3","state":"unknown","last_report":"","reported_since_start":false}]})";
    ScriptedDbman dbman(answers);
    dbman.start();
    const auto picture = runProgram({"watch"}).out;
    EXPECT_THAT(picture, HasSubstr("1     -        on-line (before restart)  2/3 "));
    EXPECT_THAT(picture, HasSubstr("2     -        on-line                   0/0 "));
    EXPECT_THAT(picture, HasSubstr("3     -        unknown                   0/0 "));
}

TEST(Watch, OnceWithoutADbmanEndsWithThree) {
    const auto outcome = runProgram({"watch", "--once"});
    EXPECT_EQ(outcome.code, ExitCode::notRunning);
    EXPECT_THAT(outcome.err, HasSubstr("no dbman listens at /tmp/dbman.ctl"));
}

TEST(Watch, RefusesAnIntervalOfNothing) {
    const auto outcome = runProgram({"watch", "--interval", "0s"});
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_THAT(outcome.err, HasSubstr("time \"0s\" is not allowed: a number and s, m, h or d"));
}

TEST(Watch, FillsAWindowOf80By24AndQRestoresTheTerminal) {
    ScriptedDbman dbman(twoCards());
    PseudoTerminal terminal({"watch", "--interval", "1h"}, 80, 24);
    dbman.start();
    ASSERT_TRUE(terminal.waitToShow("T2 two"));
    ASSERT_TRUE(terminal.waitToShow("\x1b[J"));
    EXPECT_FALSE(terminal.isCooked());
    const auto lines = lastPicture(terminal.shown());
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[2], "1     127.0.1.1  on-line   2/3   -27.31     2       -         -");
    terminal.type("q");
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_TRUE(terminal.isCooked());
    EXPECT_TRUE(terminal.shown().ends_with(kUsualScreen));
}

TEST(Watch, FitsASmallWindow) {
    auto answers = twoCards();
    std::string events;
    for (int number = 1; number <= 20; ++number) {
        events += (number == 1 ? "" : ",") + std::string(R"({"id":1,"text":"event )") +
                  std::to_string(number) + R"( with a text that is longer than the window"})";
    }
    answers["events"] = R"({"events":[)" + events + R"(],"last_id":20})";
    ScriptedDbman dbman(answers);
    PseudoTerminal terminal({"watch", "--interval", "1h"}, 40, 10);
    dbman.start();
    ASSERT_TRUE(terminal.waitToShow("event 20"));
    ASSERT_TRUE(terminal.waitToShow("\x1b[J"));
    const auto lines = lastPicture(terminal.shown());
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[1], "slot  state     ONUs  worst dBm  alarms");
    EXPECT_EQ(lines[4], "");
    EXPECT_EQ(lines[5], "event 16 with a text that is longer t...");
    EXPECT_TRUE(dbman.waitForRequest(R"({"command":"events","limit":10})"));
}

TEST(Watch, TakesTheNewSizeOfTheWindowAtOnce) {
    ScriptedDbman dbman(twoCards());
    PseudoTerminal terminal({"watch", "--interval", "1h"}, 80, 24);
    dbman.start();
    ASSERT_TRUE(terminal.waitToShow("T2 two"));
    terminal.resize(50, 5);
    ASSERT_TRUE(terminal.waitToShow("slot  address    state     ONUs  worst dBm  alarms\x1b[K"));
}

TEST(Watch, CtrlCRestoresTheTerminal) {
    ScriptedDbman dbman(twoCards());
    PseudoTerminal terminal({"watch", "--interval", "1h"});
    dbman.start();
    ASSERT_TRUE(terminal.waitToShow("T2 two"));
    terminal.type(kCtrlC);
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_TRUE(terminal.isCooked());
    EXPECT_TRUE(terminal.shown().ends_with(kUsualScreen));
}

TEST(Watch, SaysThatDbmanHasGoneAndGoesOnWhenItIsBack) {
    PseudoTerminal terminal({"watch", "--interval", "1h"});
    ASSERT_TRUE(terminal.waitToShow("dbman at /tmp/dbman.ctl has gone; waiting for it"));
    ScriptedDbman dbman(twoCards());
    dbman.start();
    // Any key but "q" asks at once.
    terminal.type(" ");
    EXPECT_TRUE(terminal.waitToShow("127.0.1.1  on-line"));
}

}  // namespace

}  // namespace ponmgr::dbman
