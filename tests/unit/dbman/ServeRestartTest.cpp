// What is left of a dbman that has ended, in an orderly way or not.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/Columns.h"
#include "dbman/ControlClient.h"
#include "dbman/Text.h"
#include "store/StoreFixture.h"

namespace ponmgr::dbman {

namespace {

using test::FakeDaemon;
using test::notification;
using test::notify;
using test::RunningServer;
using test::valuesIn;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string ask(const std::string& request) {
    return askDbman(kDefaultControlPath, request);
}

void reportAll(const RunningServer& running) {
    notify(notification("/olt/new", R"({"slot_id":"3","online_status":"1","mac_address":"m"})"));
    notify(notification("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"3",)"
                                    R"("online_status":"1","tx_power_input":"-20"})"));
    notify(notification("/olt/alarm/new",
                        R"({"alarm_list":[{"alarm":"LOS","label":"OLT Port: EPON-0",)"
                        R"("state":"On","slot_id":"3"}]})"));
    ASSERT_TRUE(running.waitToShow("/olt/alarm/new slot 3"));
}

/// An answer as it is after a restart: nothing has been reported since.
std::string beforeRestart(std::string answer) {
    const std::string reported = R"("reported_since_start":true)";
    for (auto place = answer.find(reported); place != std::string::npos;
         place = answer.find(reported)) {
        answer.replace(place, reported.size(), R"("reported_since_start":false)");
    }
    return answer;
}

TEST(ServeRestart, KeepsCardsOnusAlarmsLevelsAndEvents) {
    const std::vector<std::string> questions = {R"({"command":"card list"})",
                                                R"({"command":"onu list"})",
                                                R"({"command":"alarm list"})",
                                                R"({"command":"alarm history"})",
                                                R"({"command":"optics","mac":"00:11:22:33:44:55"})",
                                                R"({"command":"events"})"};
    std::vector<std::string> before;
    {
        const RunningServer running;
        reportAll(running);
        for (const auto& question : questions) {
            before.push_back(ask(question));
        }
    }
    EXPECT_THAT(before[0], HasSubstr("on-line"));
    const RunningServer again;
    for (std::size_t number = 0; number < questions.size(); ++number) {
        EXPECT_EQ(ask(questions[number]), beforeRestart(before[number]));
    }
}

TEST(ServeRestart, MarksWhatWasReportedBeforeItUntilItIsReportedAgain) {
    {
        const RunningServer running;
        reportAll(running);
        EXPECT_THAT(test::runProgram({"card", "list"}).out, Not(HasSubstr("(before restart)")));
    }
    const RunningServer running;
    EXPECT_THAT(test::runProgram({"card", "list"}).out, HasSubstr("Z (before restart)\n"));
    EXPECT_THAT(test::runProgram({"onu", "list"}).out, HasSubstr("Z (before restart)\n"));
    reportAll(running);
    EXPECT_THAT(test::runProgram({"card", "list"}).out, Not(HasSubstr("(before restart)")));
    EXPECT_THAT(test::runProgram({"onu", "list"}).out, Not(HasSubstr("(before restart)")));
    EXPECT_THAT(ask(R"({"command":"onu list"})"), HasSubstr(R"("reported_since_start":true)"));
}

TEST(ServeRestart, TheDatabaseRulesOverTheOptionsAndSaysSo) {
    {
        const FakeDaemon daemon;
        const RunningServer running;
        ask(R"({"command":"slot set","slot":"2","ip":"10.0.0.2"})");
        ask(R"({"command":"slot clear","slot":"1"})");
        ask(R"({"command":"slot disable","slot":"3"})");
    }
    auto options = RunningServer::options();
    options.areSlotsGiven = true;
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    EXPECT_TRUE(ponmgr::test::waitFor([&] {
        return output.contains(
            ", slots 2,3 of the database (the slot options count only for a new one)\n");
    }));
    EXPECT_THAT(ask(R"({"command":"slot list"})"), HasSubstr(R"("wanted":"disabled")"));
    const FakeDaemon daemon;
    notify(notification("/olt/get/all/ip", "{}"));
    EXPECT_THAT(daemon.waitForCommands(4),
                ElementsAre(HasSubstr(R"("slot_id":"2","ip_address":"127.0.0.1")"),
                            HasSubstr(R"("slot_id":"2","ip_address":"10.0.0.2")"),
                            HasSubstr(R"("slot_id":"3","ip_address":"127.0.0.1")"),
                            HasSubstr(R"("slot_id":"3","ip_address":"127.0.1.3")")));
}

TEST(ServeRestart, OptionsThatNobodyGaveAreNotMentioned) {
    { const RunningServer running; }
    const RunningServer again;
    EXPECT_THAT(again.output.text(), testing::EndsWith(", slots 1,3\n"));
}

TEST(ServeRestart, ADaemonThatStartsAgainPutsEverythingRight) {
    {
        const RunningServer running;
        reportAll(running);
    }
    const RunningServer running;
    EXPECT_THAT(ask(R"({"command":"card list"})"), HasSubstr(R"("state":"on-line")"));
    notify(notification("/olt/set/all/offline", "{}"));
    notify(notification("/onu/set/all/offline", "{}"));
    ASSERT_TRUE(running.waitToShow("all ONUs off-line"));
    EXPECT_THAT(ask(R"({"command":"card list"})"), testing::Not(HasSubstr("on-line")));
    EXPECT_THAT(ask(R"({"command":"onu list","offline":true})"), HasSubstr("00:11:22:33:44:55"));
    notify(notification("/olt/new", R"({"slot_id":"3","online_status":"1","mac_address":"n"})"));
    ASSERT_TRUE(running.waitToShow("/olt/new slot 3 on-line mac n"));
    EXPECT_THAT(ask(R"({"command":"card list"})"), HasSubstr(R"("mac_address":"n")"));
    // The daemon knows nothing of the alarms before its start; they stay until it clears them.
    EXPECT_THAT(ask(R"({"command":"alarm list","active":true})"), HasSubstr("LOS"));
}

TEST(ServeRestart, BesideARunningDaemonACardIsOffLineUntilItIsReported) {
    {
        const RunningServer running;
        reportAll(running);
    }
    const FakeDaemon daemon;
    auto options = RunningServer::options();
    options.announces = true;
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    ASSERT_EQ(daemon.waitForCommands(4).size(), 4U);
    EXPECT_THAT(ask(R"({"command":"card list"})"),
                testing::AllOf(HasSubstr(R"("state":"off-line")"),
                               testing::Not(HasSubstr(R"("state":"on-line")"))));
    notify(notification("/olt/new", R"({"slot_id":"3","online_status":"1","mac_address":"m"})"));
    ASSERT_TRUE(ponmgr::test::waitFor([&] { return output.contains("/olt/new slot 3 on-line"); }));
    EXPECT_THAT(ask(R"({"command":"card list"})"), HasSubstr(R"("state":"on-line")"));
}

TEST(Serve, RefusesADatabaseThatIsNone) {
    std::ofstream("/tmp/dbman.db") << std::string(4096, 'x');
    const auto outcome = test::runProgram({"serve", "--database", "/tmp/dbman.db"});
    EXPECT_EQ(outcome.code, ExitCode::failed);
    EXPECT_EQ(outcome.err, "dbman: can't use the database /tmp/dbman.db: file is not a database\n");
    EXPECT_EQ(access("/tmp/pmdbman.ipc", F_OK), -1);
}

TEST(Serve, RefusesAnAgeThatIsNone) {
    const auto outcome = test::runProgram(
        {"serve", "--database", "/tmp/dbman.db", "--retain", "optics=7d", "--retain", "slots=1d"});
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_THAT(outcome.err, HasSubstr("retention \"slots=1d\" is not allowed"));
}

/// A dbman as a process of its own, whose lines go to a file.
class KilledServer {
public:
    KilledServer() : child(fork()) {
        if (child == 0) {
            std::ofstream out(kLines);
            _exit(
                static_cast<int>(runDbman({"serve", "--database", test::kDatabaseFile}, out, out)));
        }
        EXPECT_TRUE(ponmgr::test::waitFor([] { return lines().size() == 1; }));
    }
    KilledServer(const KilledServer&) = delete;
    KilledServer& operator=(const KilledServer&) = delete;
    ~KilledServer() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    static std::vector<std::string> lines() {
        std::ifstream file(kLines);
        std::vector<std::string> result;
        for (std::string line; std::getline(file, line);) {
            result.push_back(line);
        }
        return result;
    }

private:
    static constexpr auto kLines = "/tmp/lines";
    const pid_t child;
};

/// With every tenth report of an ONU a report of one of five alarms: raised at first, and the
/// second time it is cleared when its number is odd.
std::string stormAlarm(int number) {
    const bool isRaised = number < 5 || number % 2 == 1;
    return notification("/olt/alarm/new", R"({"alarm_list":[{"slot_id":"3","label":"ONU",)"
                                          R"("alarm":"LOS )" +
                                              std::to_string(number % 5) + R"(","state":")" +
                                              (isRaised ? "On" : "Off") + R"("}]})");
}

/// One of 90 ONUs, with its number as alarm message and level.
std::string stormOnu(int number) {
    const auto text = std::to_string(number);
    std::string data = R"({"slot_id":"3","online_status":"1","mac_address":"00:11:22:33:44:)";
    data += std::to_string(10 + number % 90);
    data += R"(","alarm_message":")";
    data += text;
    data += R"(","tx_power_input":"-)";
    data += text;
    data += R"("})";
    return notification("/onu/new", data);
}

/// So many reports of ONUs, one after the other without a pause.
void storm(int reports) {
    Corvane socket(2001);
    ASSERT_TRUE(socket.createSocket() && socket.connect("/tmp/pmdbman.ipc"));
    for (int number = 0; number < reports; ++number) {
        ASSERT_GE(socket.send(stormOnu(number)), 0);
        if (number % 10 == 0) {
            ASSERT_GE(socket.send(stormAlarm(number / 10)), 0);
        }
    }
}

/// What `serve` has shown since it was ready, without the times.
std::vector<std::string> shownTexts() {
    const std::size_t timeLength = formatUtc(Time()).size() + 1;
    auto lines = KilledServer::lines();
    lines.erase(lines.begin());
    for (auto& line : lines) {
        line.erase(0, timeLength);
    }
    return lines;
}

std::vector<std::string> storedTexts() {
    return valuesIn(test::kDatabaseFile, "SELECT text FROM events ORDER BY id");
}

TEST(ServeKilled, LosesOnlyTheEndOfAStorm) {
    {
        const KilledServer server;
        // Until it is right in the midst of writing.
        while (storedTexts().empty()) {
            storm(100);
        }
        storm(1000);
    }
    EXPECT_THAT(valuesIn(test::kDatabaseFile, "PRAGMA integrity_check"), ElementsAre("ok"));
    auto stored = storedTexts();
    auto shown = shownTexts();
    ASSERT_FALSE(shown.empty());
    // The last line may have been cut as well.
    shown.pop_back();
    const auto both = std::min(stored.size(), shown.size());
    stored.resize(both);
    shown.resize(both);
    EXPECT_EQ(stored, shown);
    EXPECT_GT(both, 0U);
}

TEST(ServeKilled, LosesNothingThatHasBeenCommitted) {
    {
        const KilledServer server;
        storm(1000);
        // Of 1000 reports of ONUs and 100 of alarms.
        ASSERT_TRUE(ponmgr::test::waitFor([] { return shownTexts().size() == 1100; }));
        ASSERT_TRUE(ponmgr::test::waitFor([] {
            return textOf(parseJson(ask(R"({"command":"status"})")).at("database"),
                          "waiting_writes") == "0";
        }));
    }
    EXPECT_EQ(storedTexts(), shownTexts());
}

/// These members of each item of an answer's list, separated by spaces.
std::vector<std::string> membersOf(const std::string& request, const char* list,
                                   const std::vector<const char*>& keys) {
    std::vector<std::string> result;
    const auto answer = parseJson(ask(request));
    for (const auto& item : answer.at(list)) {
        std::string text;
        for (const auto* key : keys) {
            text += (text.empty() ? "" : " ") + textOf(item, key);
        }
        result.push_back(text);
    }
    return result;
}

TEST(ServeKilled, StartsAgainWithWhatWasKept) {
    {
        const KilledServer server;
        storm(100);
        // The last of them has been taken in once it is shown.
        EXPECT_TRUE(ponmgr::test::waitFor([] { return KilledServer::lines().size() == 111; }));
        EXPECT_THAT(ask(R"({"command":"optics","mac":"00:11:22:33:44:10"})"), HasSubstr("-90\""));
    }
    const RunningServer again;
    EXPECT_THAT(ask(R"({"command":"onu show","mac":"00:11:22:33:44:10"})"),
                HasSubstr(R"("state":"on-line")"));
    EXPECT_THAT(ask(R"({"command":"optics","mac":"00:11:22:33:44:10"})"), HasSubstr("-90\""));
    // Each ONU as its last report has it; the first ten were reported twice.
    std::vector<std::string> expected;
    expected.reserve(90);
    for (int onu = 0; onu < 90; ++onu) {
        expected.push_back("00:11:22:33:44:" + std::to_string(10 + onu) + " on-line " +
                           std::to_string(onu < 10 ? onu + 90 : onu));
    }
    EXPECT_EQ(
        membersOf(R"({"command":"onu list"})", "onus", {"mac_address", "state", "alarm_message"}),
        expected);
    EXPECT_THAT(membersOf(R"({"command":"alarm list"})", "alarms", {"alarm", "state", "count"}),
                ElementsAre("LOS 0 raised 2", "LOS 1 cleared 1", "LOS 2 raised 2",
                            "LOS 3 cleared 1", "LOS 4 raised 2"));
}

}  // namespace

}  // namespace ponmgr::dbman
