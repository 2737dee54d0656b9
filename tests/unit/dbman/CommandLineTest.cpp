#include <fstream>

#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/CommandLine.h"

namespace ponmgr::dbman {

namespace {

using test::FakeDaemon;
using test::RunningServer;
using test::runProgram;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using Words = std::vector<std::string>;

class WrongCommandLine : public testing::TestWithParam<Words> {};

TEST_P(WrongCommandLine, EndsWithTwoAndSendsNothing) {
    const FakeDaemon daemon;
    const RunningServer running;
    const auto outcome = runProgram(GetParam());
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err, "");
    runProgram({"send", "/last"});
    EXPECT_EQ(daemon.waitForCommands(1).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Words, WrongCommandLine,
    testing::Values(
        Words{}, Words{"reboot"}, Words{"slot"}, Words{"slot", "enable"},
        Words{"slot", "enable", "0"}, Words{"slot", "reset", "9"}, Words{"slot", "disable", "-1"},
        Words{"slot", "announce", "every"}, Words{"slot", "reset", "1", "2"},
        Words{"card", "list", "x"}, Words{"onu", "list", "--slot", "9"},
        Words{"onu", "remove", "00112233445"}, Words{"onu", "reset"},
        Words{"onu", "vlan", "00:11:22:33:44:55", "4096", "--slot", "1"},
        Words{"port", "vlan", "3/2", "5"}, Words{"port", "vlan", "3/1"},
        Words{"port", "vlan", "3/1", "0"}, Words{"port", "vlan", "3/1", "5", "--remove"},
        Words{"port", "vlan", "3/1", "--remove", "--discard-untagged"}, Words{"send"},
        Words{"send", "slot/reset"}, Words{"send", "/x", "a"}, Words{"send", "/x", "a=1", "a=2"},
        Words{"status", "--colour"}, Words{"serve", "--slots", "0-9"},
        Words{"serve", "--source", "here"}, Words{"serve", "--base", "1.2.3"},
        Words{"serve", "--config", "/tmp/c.json", "--slots", "1"}));

TEST(CommandLine, NamesTheWrongValueAndWhatIsAllowed) {
    EXPECT_EQ(runProgram({"slot", "reset", "9"}).err,
              "dbman: slot \"9\" is not allowed: a slot is a number from 1 to 8\n");
    EXPECT_EQ(runProgram({"port", "vlan", "3/1", "4096"}).err,
              "dbman: VLAN \"4096\" is not allowed: a VLAN is a number from 1 to 4095\n");
}

TEST(CommandLine, NamesACommandThatThereIsNotAndThoseThereAre) {
    const auto outcome = runProgram({"--control", "/tmp/x.ctl", "frob"});
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_EQ(outcome.err,
              "dbman: unknown command \"frob\"; there are: serve, slot, card, onu, port, alarm, "
              "optics, events, watch, status, send, completion\n");
    EXPECT_EQ(runProgram({"card", "frob", "--json"}).out,
              "{\"error\":\"unknown command \\\"card frob\\\"; there are: card list\"}\n");
    EXPECT_EQ(runProgram({"card"}).err,
              "dbman: \"card\" needs a further word; there are: card list\n");
}

TEST(CommandLine, SaysWhereToReadOnWhenArgumentsAreMissingOrTooMany) {
    EXPECT_EQ(runProgram({"slot", "reset"}).err,
              "dbman: slot is required; see dbman slot reset --help\n");
    EXPECT_THAT(runProgram({"status", "--colour"}).err,
                testing::AllOf(StartsWith("dbman: "),
                               testing::EndsWith("--colour; see dbman status --help\n")));
}

TEST(CommandLine, HelpsAGroupWithAnExampleOfItsOwn) {
    EXPECT_THAT(runProgram({"onu", "--help"}).out,
                testing::AllOf(HasSubstr("Example:\n  dbman onu list --slot 3 --below -25dBm\n"),
                               testing::Not(HasSubstr("dbman serve"))));
}

TEST(CommandLine, ShowsWrongValuesAsJsonToo) {
    const auto outcome = runProgram({"onu", "list", "--slot", "9", "--json"});
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_EQ(outcome.out,
              "{\"error\":\"slot \\\"9\\\" is not allowed: a slot is a number from 1 to 8\"}\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(runProgram({"card", "--json"}).out, StartsWith("{\"error\":\""));
}

TEST(CommandLine, EndsWithThreeWhenNoDbmanRuns) {
    const auto outcome = runProgram({"card", "list"});
    EXPECT_EQ(outcome.code, ExitCode::notRunning);
    EXPECT_EQ(outcome.err,
              "dbman: no dbman listens at /tmp/dbman.ctl; start one with: dbman serve\n");
    const auto json = runProgram({"status", "--json", "--control", "/tmp/x.ctl"});
    EXPECT_EQ(json.code, ExitCode::notRunning);
    EXPECT_EQ(json.out,
              "{\"error\":\"no dbman listens at /tmp/x.ctl; start one with: dbman serve\"}\n");
}

TEST(CommandLine, EndsWithOneWhenTheDaemonDoesNotTakeIt) {
    const RunningServer running;
    const auto outcome = runProgram({"slot", "reset", "3"});
    EXPECT_EQ(outcome.code, ExitCode::failed);
    EXPECT_THAT(outcome.err,
                StartsWith("dbman: not sent: can't reach the daemon, is ponmgrd running? "));
    EXPECT_THAT(runProgram({"slot", "reset", "3", "--json"}).out,
                StartsWith("{\"error\":\"not sent: "));
}

TEST(CommandLine, EndsWithOneWhenTheConfigurationIsWrong) {
    std::ofstream("/tmp/c.json") << "{\"slots\":[{\"slot\":3}]}";
    const auto outcome = runProgram({"serve", "--config", "/tmp/c.json"});
    EXPECT_EQ(outcome.code, ExitCode::failed);
    EXPECT_EQ(outcome.err, "dbman: configuration /tmp/c.json: a slot has no text \"ip\"\n");
}

TEST(CommandLine, SaysWhatTheDaemonHasTaken) {
    const FakeDaemon daemon;
    const RunningServer running;
    const auto outcome = runProgram({"slot", "announce", "3"});
    EXPECT_EQ(outcome.code, ExitCode::done);
    EXPECT_EQ(outcome.out,
              "sent /olt/src_ip slot_id=3 ip_address=127.0.0.1\n"
              "sent /olt/ip slot_id=3 ip_address=127.0.1.3\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(CommandLine, SaysWhatTheDaemonHasTakenAsJson) {
    const FakeDaemon daemon;
    const RunningServer running;
    EXPECT_EQ(runProgram({"slot", "reset", "3", "--json"}).out,
              "{\"sent\":[{\"uri\":\"/slot/reset\",\"data\":{\"slot_id\":\"3\"}}]}\n");
}

struct Sent {
    Words words;
    const char* message;
};

void PrintTo(const Sent& sent, std::ostream* stream) {
    *stream << testing::PrintToString(sent.words);
}

class RightCommandLine : public testing::TestWithParam<Sent> {};

TEST_P(RightCommandLine, SendsThisMessage) {
    const FakeDaemon daemon;
    const RunningServer running;
    EXPECT_EQ(runProgram(GetParam().words).code, ExitCode::done);
    EXPECT_THAT(daemon.waitForCommands(1), ElementsAre(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Words, RightCommandLine,
    testing::Values(
        Sent{{"slot", "enable", "3"},
             R"({"action":"set","uri":"/slot/enable","data":{"slot_id":"3"}})"},
        Sent{{"slot", "disable", "3"},
             R"({"action":"set","uri":"/slot/disable","data":{"slot_id":"3"}})"},
        Sent{{"onu", "remove", "00:11:22:33:44:55", "--slot", "2"},
             R"({"action":"set","uri":"/slot/onu/remove","data":{"slot_id":"2",)"
             R"("mac_address":"00:11:22:33:44:55"}})"},
        Sent{{"onu", "reset", "00:11:22:33:44:55", "--slot", "2"},
             R"({"action":"set","uri":"/slot/onu/reset","data":{"slot_id":"2",)"
             R"("mac_address":"00:11:22:33:44:55"}})"},
        Sent{{"onu", "vlan", "00:11:22:33:44:55", "100", "--slot", "2"},
             R"({"action":"set","uri":"/slot/onu/set/vlanid","data":{"slot_id":"2",)"
             R"("mac_address":"00:11:22:33:44:55","vlan_id":"100"}})"},
        Sent{{"port", "vlan", "3/1", "100"},
             R"({"action":"set","uri":"/olt/vlan","data":{"slot_id":"3","pon_number":"1",)"
             R"("vlan_id":"100","discard_untagged":"0"}})"},
        Sent{{"port", "vlan", "3/1", "100", "--discard-untagged"},
             R"({"action":"set","uri":"/olt/vlan","data":{"slot_id":"3","pon_number":"1",)"
             R"("vlan_id":"100","discard_untagged":"1"}})"},
        Sent{{"port", "vlan", "3/0", "--remove"},
             R"({"action":"set","uri":"/olt/vlan","data":{"slot_id":"3","pon_number":"0",)"
             R"("vlan_id":"","discard_untagged":"0"}})"},
        Sent{{"send", "/any", "b=2", "a=x=y"},
             R"({"action":"set","uri":"/any","data":{"a":"x=y","b":"2"}})"},
        Sent{{"send", "/any"}, R"({"action":"set","uri":"/any","data":{}})"}));

TEST(CommandLine, ShowsTheCardsAsATable) {
    const RunningServer running;
    const auto outcome = runProgram({"card", "list"});
    EXPECT_EQ(outcome.code, ExitCode::done);
    EXPECT_EQ(outcome.out,
              "slot  address    state    MAC  firmware  NVS  last report\n"
              "1     127.0.1.1  unknown  -    -         -    -\n"
              "3     127.0.1.3  unknown  -    -         -    -\n");
}

TEST(CommandLine, ShowsListsOfNothingAsEmptyArrays) {
    const RunningServer running;
    EXPECT_EQ(runProgram({"onu", "list", "--json"}).out, "{\"onus\":[]}\n");
}

TEST(CommandLine, ShowsTheOnusOfOneSlot) {
    const RunningServer running;
    test::notify(test::notification("/onu/new", R"({"mac_address":"00:11:22:33:44:01",)"
                                                R"("slot_id":"1"})"));
    test::notify(test::notification("/onu/new", R"({"mac_address":"00:11:22:33:44:03",)"
                                                R"("slot_id":"3","pon_port":"1"})"));
    ASSERT_TRUE(running.waitToShow("00:11:22:33:44:03"));
    const auto text = runProgram({"onu", "list", "--slot", "3"}).out;
    EXPECT_THAT(text, HasSubstr("00:11:22:33:44:03  3     1     unknown"));
    EXPECT_THAT(text, testing::Not(HasSubstr("00:11:22:33:44:01")));
}

TEST(CommandLine, ShowsTheCounters) {
    const RunningServer running;
    test::notify("x");
    ASSERT_TRUE(running.waitToShow("malformed message"));
    const auto json = runProgram({"status", "--json"}).out;
    EXPECT_THAT(json, StartsWith("{\"uptime_seconds\":"));
    EXPECT_THAT(json, HasSubstr("\"notifications\":{\"/olt/alarm/new\":0,"));
    EXPECT_THAT(
        json, HasSubstr("\"unknown\":0,\"malformed\":1,\"alarms_displaced\":0,\"link_errors\":0"));
    EXPECT_THAT(runProgram({"status"}).out, testing::ContainsRegex("malformed messages +1\n"));
}

TEST(CommandLine, HelpsAndNamesItsVersion) {
    const auto help = runProgram({"--help"});
    EXPECT_EQ(help.code, ExitCode::done);
    EXPECT_THAT(help.out, HasSubstr("serve"));
    EXPECT_EQ(runProgram({"slot", "reset", "--help"}).code, ExitCode::done);
    EXPECT_EQ(runProgram({"--version"}).code, ExitCode::done);
}

}  // namespace

}  // namespace ponmgr::dbman
