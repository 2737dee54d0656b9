#include <memory>

#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/ControlClient.h"
#include "dbman/ControlCommands.h"

namespace ponmgr::dbman {

namespace {

using test::FakeDaemon;
using test::notification;
using test::notify;
using test::RunningServer;
using testing::ElementsAre;
using testing::HasSubstr;

std::string ask(const std::string& request) {
    return askDbman(kDefaultControlPath, request);
}

class RefusedRequest : public testing::TestWithParam<const char*> {};

TEST_P(RefusedRequest, IsAnsweredWithAnErrorAndSendsNothing) {
    const FakeDaemon daemon;
    const RunningServer running;
    EXPECT_THAT(ask(GetParam()), testing::StartsWith("{\"error\":\""));
    ask(R"({"command":"send","uri":"/last","data":{}})");
    EXPECT_EQ(daemon.waitForCommands(1).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, RefusedRequest,
    testing::Values("", "{", "[]", "{}", R"({"command":7})", R"({"command":"reboot"})",
                    R"({"command":"slot reset"})", R"({"command":"slot reset","slot":3})",
                    R"({"command":"slot reset","slot":"9"})",
                    R"({"command":"slot announce","slot":"2"})",
                    R"({"command":"onu reset","mac":"x"})",
                    R"({"command":"onu reset","mac":"00:11:22:33:44:55"})",
                    R"({"command":"onu vlan","mac":"00:11:22:33:44:55","slot":"1","vlan":"0"})",
                    R"({"command":"port vlan","port":"3/2","vlan":"5"})",
                    R"({"command":"port vlan","port":"3/1","vlan":""})",
                    R"({"command":"onu list","slot":"0"})",
                    R"({"command":"send","uri":"x","data":{}})", R"({"command":"send","uri":"/x"})",
                    R"({"command":"send","uri":"/x","data":{"a":1}})"));

struct SentCommand {
    const char* request;
    const char* message;
};

void PrintTo(const SentCommand& command, std::ostream* stream) {
    *stream << command.request;
}

class SentRequest : public testing::TestWithParam<SentCommand> {};

TEST_P(SentRequest, ReachesTheDaemonAsThisMessage) {
    const FakeDaemon daemon;
    const RunningServer running;
    EXPECT_THAT(ask(GetParam().request), testing::StartsWith("{\"sent\":[{"));
    EXPECT_THAT(daemon.waitForCommands(1), ElementsAre(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, SentRequest,
    testing::Values(
        SentCommand{R"({"command":"slot enable","slot":"3"})",
                    R"({"action":"set","uri":"/slot/enable","data":{"slot_id":"3"}})"},
        SentCommand{R"({"command":"slot disable","slot":"3"})",
                    R"({"action":"set","uri":"/slot/disable","data":{"slot_id":"3"}})"},
        SentCommand{R"({"command":"slot reset","slot":"8"})",
                    R"({"action":"set","uri":"/slot/reset","data":{"slot_id":"8"}})"},
        SentCommand{R"({"command":"onu remove","mac":"00:11:22:33:44:AA","slot":"3"})",
                    R"({"action":"set","uri":"/slot/onu/remove","data":{"slot_id":"3",)"
                    R"("mac_address":"00:11:22:33:44:aa"}})"},
        SentCommand{R"({"command":"onu reset","mac":"00:11:22:33:44:55","slot":"3"})",
                    R"({"action":"set","uri":"/slot/onu/reset","data":{"slot_id":"3",)"
                    R"("mac_address":"00:11:22:33:44:55"}})"},
        SentCommand{R"({"command":"onu vlan","mac":"00:11:22:33:44:55","slot":"3","vlan":"7"})",
                    R"({"action":"set","uri":"/slot/onu/set/vlanid","data":{"slot_id":"3",)"
                    R"("mac_address":"00:11:22:33:44:55","vlan_id":"7"}})"},
        SentCommand{R"({"command":"port vlan","port":"3/1","vlan":"4095"})",
                    R"({"action":"set","uri":"/olt/vlan","data":{"slot_id":"3","pon_number":"1",)"
                    R"("vlan_id":"4095","discard_untagged":"0"}})"},
        SentCommand{R"({"command":"port vlan","port":"3/0","vlan":"1","discard_untagged":"1"})",
                    R"({"action":"set","uri":"/olt/vlan","data":{"slot_id":"3","pon_number":"0",)"
                    R"("vlan_id":"1","discard_untagged":"1"}})"},
        SentCommand{R"({"command":"port vlan remove","port":"3/1"})",
                    R"({"action":"set","uri":"/olt/vlan","data":{"slot_id":"3","pon_number":"1",)"
                    R"("vlan_id":"","discard_untagged":"0"}})"},
        SentCommand{R"({"command":"send","uri":"/slot/onu/","data":{"a":"b"}})",
                    R"({"action":"set","uri":"/slot/onu/","data":{"a":"b"}})"}));

TEST(ControlCommands, AnnounceTheAddressesOfAllSlots) {
    const FakeDaemon daemon;
    const RunningServer running;
    ask(R"({"command":"slot announce","slot":"all"})");
    EXPECT_THAT(daemon.waitForCommands(4),
                ElementsAre(HasSubstr(R"("/olt/src_ip","data":{"slot_id":"1")"),
                            HasSubstr(R"("/olt/ip","data":{"slot_id":"1")"),
                            HasSubstr(R"("/olt/src_ip","data":{"slot_id":"3")"),
                            HasSubstr(R"("/olt/ip","data":{"slot_id":"3")")));
}

TEST(ControlCommands, AnnounceTheAddressesOfOneSlot) {
    const FakeDaemon daemon;
    const RunningServer running;
    EXPECT_EQ(ask(R"({"command":"slot announce","slot":"3"})"),
              R"({"sent":[{"uri":"/olt/src_ip","data":{"slot_id":"3","ip_address":"127.0.0.1"}},)"
              R"({"uri":"/olt/ip","data":{"slot_id":"3","ip_address":"127.0.1.3"}}]})");
    EXPECT_EQ(daemon.waitForCommands(2).size(), 2U);
}

TEST(ControlCommands, SayWhichSlotsHaveAnAddress) {
    const RunningServer running;
    EXPECT_EQ(ask(R"({"command":"slot announce","slot":"2"})"),
              R"({"error":"slot 2 has no address; configured are: 1,3"})");
}

TEST(ControlCommands, FindTheSlotOfAKnownOnu) {
    const FakeDaemon daemon;
    const RunningServer running;
    notify(notification("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"3"})"));
    ASSERT_TRUE(running.waitToShow("/onu/new"));
    ask(R"({"command":"onu reset","mac":"00:11:22:33:44:55"})");
    EXPECT_THAT(daemon.waitForCommands(1), ElementsAre(HasSubstr(R"("slot_id":"3")")));
}

TEST(ControlCommands, ForgetAnOnuThatWasRemoved) {
    const FakeDaemon daemon;
    const RunningServer running;
    notify(notification("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"3"})"));
    ASSERT_TRUE(running.waitToShow("/onu/new"));
    ask(R"({"command":"onu remove","mac":"00:11:22:33:44:55"})");
    EXPECT_EQ(ask(R"({"command":"onu list"})"), R"({"onus":[]})");
}

TEST(ControlCommands, KeepAnOnuThatCouldNotBeRemoved) {
    const RunningServer running;
    notify(notification("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"3"})"));
    ASSERT_TRUE(running.waitToShow("/onu/new"));
    ask(R"({"command":"onu remove","mac":"00:11:22:33:44:55"})");
    EXPECT_THAT(ask(R"({"command":"onu list"})"), HasSubstr("00:11:22:33:44:55"));
}

TEST(ControlCommands, SayWhyTheDaemonDidNotTakeAMessage) {
    const RunningServer running;
    EXPECT_THAT(ask(R"({"command":"slot reset","slot":"3"})"),
                HasSubstr("not sent: can't reach the daemon, is ponmgrd running? connect to "
                          "/tmp/dbpman.ipc"));
    EXPECT_THAT(ask(R"({"command":"slot announce","slot":"all"})"),
                HasSubstr("4 of 4 messages not sent: "));
}

TEST(ControlCommands, SayWhetherADaemonListens) {
    const RunningServer running;
    EXPECT_THAT(ask(R"({"command":"status"})"), HasSubstr(R"("daemon":"not there")"));
    const FakeDaemon daemon;
    EXPECT_THAT(ask(R"({"command":"status"})"), HasSubstr(R"("daemon":"listens")"));
}

/// A dbman without a daemon and with only so much room for messages to it, which wait for ever.
class FullQueue : public testing::Test {
protected:
    void startWithRoomFor(std::size_t messages) {
        auto options = RunningServer::options();
        options.commandTiming.patience = std::chrono::hours(1);
        server = std::make_unique<Server>(options, output.stream());
        server->start();
        // Each is answered with two messages a slot.
        const auto waiting = CommandSender::kMaximumWaiting - messages;
        for (std::size_t answers = 0; answers < waiting / 4; ++answers) {
            notify(notification("/olt/get/all/ip", "{}"));
        }
        notify(notification("/mark", "{}"));
        ASSERT_TRUE(ponmgr::test::waitFor([&] { return output.contains("/mark"); }));
        for (std::size_t rest = 0; rest < waiting % 4; ++rest) {
            EXPECT_THAT(ask(R"({"command":"slot clear","slot":"8"})"), HasSubstr("tried again"));
        }
    }

    test::CapturedOutput output;
    std::unique_ptr<Server> server;
};

constexpr auto kRefusedChange =
    R"({"sent":[],"stored":true,"note":"not sent, and not tried again: too many messages wait for )"
    R"(the daemon; it is kept, and a daemon that starts asks for all addresses"})";

TEST_F(FullQueue, OfAChangeIsToldAndTheChangeKept) {
    startWithRoomFor(0);
    EXPECT_EQ(ask(R"({"command":"slot set","slot":"2","ip":"10.0.0.2"})"), kRefusedChange);
    EXPECT_THAT(ask(R"({"command":"slot list"})"), HasSubstr("10.0.0.2"));
}

TEST_F(FullQueue, IsToldWhenAnotherMessageOfTheChangeIsTriedAgain) {
    startWithRoomFor(1);
    EXPECT_EQ(ask(R"({"command":"slot set","slot":"2","ip":"10.0.0.2"})"), kRefusedChange);
}

TEST(ControlCommands, SayThatAChangeIsNotSentOnceThePatienceIsOver) {
    auto options = RunningServer::options();
    options.commandTiming.patience = std::chrono::milliseconds(0);
    test::CapturedOutput output;
    Server server(options, output.stream());
    server.start();
    EXPECT_THAT(
        ask(R"({"command":"slot clear","slot":"3"})"),
        testing::AllOf(testing::StartsWith(R"({"sent":[],"stored":true,"note":"not sent, and not )"
                                           "tried again: can't reach the daemon, is ponmgrd "
                                           "running? "),
                       testing::EndsWith("; it is kept, and a daemon that starts asks for all "
                                         "addresses\"}")));
}

TEST(ControlCommands, CountWhatWasSentAndWhatFailed) {
    const RunningServer running;
    ask(R"({"command":"slot reset","slot":"3"})");
    const FakeDaemon daemon;
    ask(R"({"command":"slot announce","slot":"3"})");
    const auto status = ask(R"({"command":"status"})");
    EXPECT_THAT(status, HasSubstr(R"("commands_sent":2,"commands_failed":1)"));
}

}  // namespace

}  // namespace ponmgr::dbman
