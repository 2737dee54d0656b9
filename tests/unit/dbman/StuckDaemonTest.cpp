#include <memory>

#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/ControlClient.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::milliseconds;
using test::notification;
using test::notify;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr auto kOnu = "00:11:22:33:44:55";

std::string ask(const std::string& request) {
    return askDbman(kDefaultControlPath, request);
}

std::string onuRequest(const std::string& command) {
    return R"({"command":")" + command + R"(","mac":")" + kOnu + R"("})";
}

/// A dbman whose daemon listens and doesn't read.
class StuckDaemon : public testing::Test {
protected:
    void start(milliseconds answerLimit) {
        auto options = test::RunningServer::options();
        options.commandTiming.answerLimit = answerLimit;
        server = std::make_unique<Server>(options, output.stream());
        server->start();
    }

    void reportOnu() {
        notify(notification("/onu/new",
                            R"({"mac_address":")" + std::string(kOnu) + R"(","slot_id":"3"})"));
        ASSERT_TRUE(ponmgr::test::waitFor([&] { return output.contains("/onu/new"); }));
    }

    /// A client that has asked and waits; what it asked has been taken up.
    static Descriptor waitingClient(const std::string& request) {
        auto client = connectLocal(kDefaultControlPath, 10);
        askOn(client, request);
        return client;
    }

    static void askOn(const Descriptor& client, const std::string& request) {
        EXPECT_TRUE(sendSome(client, request + "\n"));
        // Answered after those who have asked before.
        EXPECT_THAT(ask(R"({"command":"alarm list"})"), HasSubstr("alarms"));
    }

    static std::string answerTo(const Descriptor& client) {
        std::string answer;
        while (answer.find('\n') == std::string::npos &&
               receiveSome(client, answer).value_or(0) > 0) {
        }
        return answer;
    }

    static bool forgetsTheOnu() {
        return ponmgr::test::waitFor(
            [] { return ask(R"({"command":"onu list"})") == R"({"onus":[]})"; });
    }

    std::unique_ptr<test::DeafDaemon> daemon = std::make_unique<test::DeafDaemon>();
    test::CapturedOutput output;
    std::unique_ptr<Server> server;
};

TEST_F(StuckDaemon, IsNotWaitedForForEver) {
    start(milliseconds(10));
    EXPECT_EQ(
        ask(R"({"command":"slot reset","slot":"3"})"),
        R"({"error":"not sent: the daemon listens but takes no message; it may get it later"})");
}

TEST_F(StuckDaemon, KeepsNobodyElseWaiting) {
    start(std::chrono::hours(1));
    const auto waiting = waitingClient(R"({"command":"slot reset","slot":"3"})");
    daemon.reset();
    // What is said depends on whether the message was on its way when the daemon ended.
    EXPECT_THAT(answerTo(waiting),
                AnyOf(HasSubstr("not sent: the daemon didn't take it"),
                      HasSubstr("not sent: can't reach the daemon, is ponmgrd running?")));
}

TEST_F(StuckDaemon, LeavesTheWantedStateToTheCommandThatItTakesLast) {
    start(std::chrono::hours(1));
    const auto connectedFirst = connectLocal(kDefaultControlPath, 10);
    const auto enabling = waitingClient(R"({"command":"slot enable","slot":"1"})");
    askOn(connectedFirst, R"({"command":"slot disable","slot":"1"})");
    EXPECT_THAT(daemon->take(2),
                ElementsAre(HasSubstr("/slot/enable"), HasSubstr("/slot/disable")));
    EXPECT_THAT(answerTo(enabling), HasSubstr("/slot/enable"));
    EXPECT_THAT(answerTo(connectedFirst), HasSubstr("/slot/disable"));
    EXPECT_THAT(ask(R"({"command":"slot list"})"),
                HasSubstr(R"("slot_id":"1","ip_address":"127.0.1.1",)"
                          R"("source_address":"127.0.0.1","wanted":"disabled")"));
}

TEST_F(StuckDaemon, HasAnOnuForgottenOnceItHasTakenTheRemoval) {
    start(milliseconds(10));
    reportOnu();
    EXPECT_THAT(ask(onuRequest("onu remove")), HasSubstr("it may get it later"));
    EXPECT_THAT(ask(R"({"command":"onu list"})"), HasSubstr(kOnu));
    EXPECT_THAT(daemon->take(1), ElementsAre(HasSubstr("/slot/onu/remove")));
    EXPECT_TRUE(forgetsTheOnu());
}

TEST_F(StuckDaemon, HasAnOnuForgottenAlthoughTheClientHasGone) {
    start(std::chrono::hours(1));
    reportOnu();
    { const auto gone = waitingClient(onuRequest("onu remove")); }
    EXPECT_THAT(daemon->take(1), ElementsAre(HasSubstr("/slot/onu/remove")));
    EXPECT_TRUE(forgetsTheOnu());
}

TEST_F(StuckDaemon, GetsTheMessagesOfManyClientsOnceEach) {
    start(std::chrono::hours(1));
    std::vector<Descriptor> clients;
    for (int slot = 1; slot <= 8; ++slot) {
        clients.push_back(connectLocal(kDefaultControlPath, 10));
        askOn(clients.back(),
              R"({"command":"slot reset","slot":")" + std::to_string(slot) + R"("})");
    }
    const auto commands = daemon->take(8);
    for (std::size_t index = 0; index < clients.size(); ++index) {
        const auto data = R"("data":{"slot_id":")" + std::to_string(index + 1) + R"("})";
        EXPECT_THAT(commands.at(index), HasSubstr(data));
        EXPECT_THAT(answerTo(clients[index]), HasSubstr(data));
    }
}

TEST_F(StuckDaemon, LeavesAWaitingClientAnAnswerWhenDbmanStops) {
    start(std::chrono::hours(1));
    const auto waiting = waitingClient(R"({"command":"slot reset","slot":"3"})");
    server->stop();
    EXPECT_EQ(answerTo(waiting), "{\"error\":\"not sent: dbman is stopping\"}\n");
}

TEST_F(StuckDaemon, MayGetTheAddressOfASlotLater) {
    start(milliseconds(10));
    EXPECT_EQ(ask(R"({"command":"slot clear","slot":"3"})"),
              R"({"sent":[],"stored":true,"note":"the daemon listens but takes no message; it may )"
              R"(get it later, and a daemon that starts asks for all addresses"})");
    EXPECT_THAT(daemon->take(1), ElementsAre(HasSubstr(R"("slot_id":"3","ip_address":"")")));
}

TEST_F(StuckDaemon, GetsNoAddressFromADbmanThatStops) {
    start(std::chrono::hours(1));
    const auto waiting = waitingClient(R"({"command":"slot set","slot":"3","ip":"127.0.1.3"})");
    server->stop();
    EXPECT_EQ(answerTo(waiting),
              "{\"sent\":[],\"stored\":true,\"note\":\"not sent, and not tried again: dbman is "
              "stopping; it is kept, and a daemon that starts asks for all addresses\"}\n");
}

}  // namespace

}  // namespace ponmgr::dbman
