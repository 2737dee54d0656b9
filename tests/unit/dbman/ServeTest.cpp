#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/Errors.h"
#include "dbman/Serve.h"

namespace ponmgr::dbman {

namespace {

using test::FakeDaemon;
using test::notification;
using test::notify;
using test::RunningServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Server, SaysThatItIsReadyOnceItListens) {
    const RunningServer running;
    EXPECT_EQ(running.output.text(),
              "dbman ready: notifications at /tmp/pmdbman.ipc, commands to /tmp/dbpman.ipc, "
              "control at /tmp/dbman.ctl, database /tmp/dbman.db, slots 1,3\n");
    EXPECT_NO_THROW(notify("x"));
}

TEST(Server, AnswersTheQuestionForAddressesInOrder) {
    const FakeDaemon daemon;
    const RunningServer running;
    notify(notification("/olt/get/all/ip", "{}"));
    EXPECT_THAT(
        daemon.waitForCommands(4),
        ElementsAre(
            R"({"action":"set","uri":"/olt/src_ip","data":{"slot_id":"1","ip_address":"127.0.0.1"}})",
            R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"1","ip_address":"127.0.1.1"}})",
            R"({"action":"set","uri":"/olt/src_ip","data":{"slot_id":"3","ip_address":"127.0.0.1"}})",
            R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"3","ip_address":"127.0.1.3"}})"));
}

TEST(Server, AnswersADaemonThatListensLaterAndReceivesMeanwhile) {
    const RunningServer running;
    notify(notification("/olt/get/all/ip", "{}"));
    notify(notification("/olt/new", R"({"slot_id":"3","online_status":"1"})"));
    ASSERT_TRUE(running.waitToShow("/olt/new slot 3 on-line"));
    EXPECT_FALSE(running.output.contains("lost "));
    const FakeDaemon daemon;
    EXPECT_EQ(daemon.waitForCommands(4).size(), 4U);
}

TEST(Server, HasADaemonThatRunsAlreadyReportEverythingAnew) {
    const FakeDaemon daemon;
    auto options = RunningServer::options();
    options.announces = true;
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    EXPECT_THAT(daemon.waitForCommands(4),
                ElementsAre(HasSubstr(R"("/olt/src_ip","data":{"slot_id":"1")"),
                            HasSubstr(R"("/olt/ip","data":{"slot_id":"1")"),
                            HasSubstr(R"("/olt/src_ip","data":{"slot_id":"3")"),
                            HasSubstr(R"("/olt/ip","data":{"slot_id":"3")")));
    EXPECT_TRUE(ponmgr::test::waitFor(
        [&] { return output.contains("a daemon runs already; it is to report everything anew"); }));
}

TEST(Server, LeavesItToADaemonThatStartsLaterToAsk) {
    auto options = RunningServer::options();
    options.announces = true;
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    const FakeDaemon daemon;
    notify(notification("/olt/get/all/ip", "{}"));
    ASSERT_EQ(daemon.waitForCommands(4).size(), 4U);
    test::runProgram({"send", "/last"});
    EXPECT_THAT(daemon.waitForCommands(5),
                ElementsAre(testing::_, testing::_, testing::_, testing::_, HasSubstr("/last")));
    EXPECT_FALSE(output.contains("lost "));
}

TEST(Server, ReportsAnAnswerAsLostWhenNobodyTakesIt) {
    auto options = RunningServer::options();
    options.commandTiming.patience = std::chrono::milliseconds(5);
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    notify(notification("/olt/get/all/ip", "{}"));
    EXPECT_TRUE(ponmgr::test::waitFor([&] {
        return output.contains("lost /olt/ip slot_id=3 ip_address=127.0.1.3: can't reach");
    }));
}

TEST(Server, ShowsAndKeepsWhatTheDaemonReports) {
    const RunningServer running;
    notify(notification("/olt/set/all/offline", "{}"));
    notify("not JSON at all");
    notify(notification("/olt/new", R"({"slot_id":"3","online_status":"1","mac_address":"m"})"));
    ASSERT_TRUE(running.waitToShow("/olt/new slot 3 on-line mac m app -"));
    const auto list = test::runProgram({"card", "list", "--json"}).out;
    EXPECT_THAT(list, HasSubstr(R"("slot_id":"1","ip_address":"127.0.1.1",)"
                                R"("source_address":"127.0.0.1","state":"off-line")"));
    EXPECT_THAT(list, HasSubstr(R"("state":"on-line","online_status":"1","mac_address":"m")"));
}

TEST(Server, WhenQuietShowsOnlyWhatGoesWrong) {
    auto options = RunningServer::options(true);
    options.commandTiming.patience = std::chrono::milliseconds(0);
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    notify("x");
    notify(notification("/olt/get/all/ip", "{}"));
    ASSERT_TRUE(ponmgr::test::waitFor([&] { return output.contains("lost /olt/ip slot_id=3"); }));
    EXPECT_FALSE(output.contains("malformed"));
    EXPECT_FALSE(output.contains("/olt/get/all/ip"));
}

TEST(Server, RemovesItsSocketsWhenItStops) {
    RunningServer running;
    running.server.stop();
    EXPECT_FALSE(std::filesystem::exists("/tmp/pmdbman.ipc"));
    EXPECT_FALSE(std::filesystem::exists("/tmp/dbman.ctl"));
}

TEST(Server, LeavesNoSocketWhenItsControlPathIsTaken) {
    std::ofstream("/tmp/dbman.ctl") << "no socket";
    test::CapturedOutput output;
    {
        Server server(RunningServer::options(), output.stream());
        EXPECT_THROW(server.start(), Failure);
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/pmdbman.ipc"));
    EXPECT_EQ(output.text(), "");
}

TEST(Serve, RefusesToBeASecondOne) {
    const RunningServer running;
    const auto outcome =
        test::runProgram({"serve", "--control", "/tmp/second.ctl", "--database", "/tmp/second.db"});
    EXPECT_EQ(outcome.code, ExitCode::failed);
    EXPECT_THAT(outcome.err, StartsWith("dbman: can't listen at /tmp/pmdbman.ipc: "));
    EXPECT_THAT(outcome.err, HasSubstr("is another dbman running?"));
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(std::filesystem::exists("/tmp/second.ctl"));
}

std::string contentOf(const char* path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Runs `dbman serve` as a process of its own until it is ready, sends it the signal, and returns
/// its wait status.
int serveUntil(int signal) {
    const pid_t child = fork();
    if (child == 0) {
        std::ofstream out("/tmp/out");
        const auto code =
            runDbman({"serve", "--slots", "2-3,5", "--database", "/tmp/dbman.db"}, out, out);
        _exit(static_cast<int>(code));
    }
    EXPECT_TRUE(ponmgr::test::waitFor(
        [] { return contentOf("/tmp/out").find('\n') != std::string::npos; }));
    EXPECT_THAT(contentOf("/tmp/out"), StartsWith("dbman ready:"));
    EXPECT_THAT(contentOf("/tmp/out"), HasSubstr("slots 2,3,5\n"));
    kill(child, signal);
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

class ServeSignal : public testing::TestWithParam<int> {};

TEST_P(ServeSignal, EndsItWithStatusZeroAndItsSocketsRemoved) {
    const int status = serveUntil(GetParam());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_FALSE(std::filesystem::exists("/tmp/pmdbman.ipc"));
    EXPECT_FALSE(std::filesystem::exists("/tmp/dbman.ctl"));
}

INSTANTIATE_TEST_SUITE_P(Both, ServeSignal, testing::Values(SIGINT, SIGTERM));

}  // namespace

}  // namespace ponmgr::dbman
