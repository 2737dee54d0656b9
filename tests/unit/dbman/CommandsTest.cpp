#include "RunningServer.h"
#include "ScriptedDbman.h"

namespace ponmgr::dbman {

namespace {

using test::Answers;
using test::runProgram;
using test::ScriptedDbman;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Words = std::vector<std::string>;

struct Asked {
    Words words;
    const char* request;
};

void PrintTo(const Asked& asked, std::ostream* stream) {
    *stream << testing::PrintToString(asked.words);
}

class CommandRequest : public testing::TestWithParam<Asked> {};

TEST_P(CommandRequest, IsSentAsOneLineOfJson) {
    ScriptedDbman dbman;
    dbman.start();
    const auto outcome = runProgram(GetParam().words);
    EXPECT_EQ(outcome.err, "dbman: not scripted\n");
    EXPECT_EQ(outcome.code, ExitCode::failed);
    EXPECT_THAT(dbman.requests(), ElementsAre(GetParam().request));
}

constexpr auto kMac = "000DB6030007";

INSTANTIATE_TEST_SUITE_P(
    All, CommandRequest,
    testing::Values(
        Asked{{"slot", "list"}, R"({"command":"slot list"})"},
        Asked{{"slot", "set", "3", "--ip", "127.0.1.3"},
              R"({"command":"slot set","ip":"127.0.1.3","slot":"3"})"},
        Asked{{"slot", "set", "3", "--ip", "127.0.1.3", "--source", "127.0.0.1"},
              R"({"command":"slot set","ip":"127.0.1.3","slot":"3","source":"127.0.0.1"})"},
        Asked{{"slot", "clear", "3"}, R"({"command":"slot clear","slot":"3"})"},
        Asked{{"slot", "enable", "3"}, R"({"command":"slot enable","slot":"3"})"},
        Asked{{"slot", "disable", "3"}, R"({"command":"slot disable","slot":"3"})"},
        Asked{{"slot", "reset", "3"}, R"({"command":"slot reset","slot":"3"})"},
        Asked{{"slot", "announce", "3"}, R"({"command":"slot announce","slot":"3"})"},
        Asked{{"slot", "announce", "all"}, R"({"command":"slot announce","slot":"all"})"},
        Asked{{"card", "list"}, R"({"command":"card list"})"},
        Asked{{"onu", "list"}, R"({"command":"onu list"})"},
        Asked{{"onu", "list", "--slot", "3", "--port", "1", "--offline", "--below", "-25.5dBm"},
              R"({"below":-25.5,"command":"onu list","offline":true,"port":"1","slot":"3"})"},
        Asked{{"onu", "list", "--below=-25"}, R"({"below":-25.0,"command":"onu list"})"},
        Asked{{"onu", "show", kMac}, R"({"command":"onu show","mac":"00:0d:b6:03:00:07"})"},
        Asked{{"onu", "remove", "00-0D-B6-03-00-07"},
              R"({"command":"onu remove","mac":"00:0d:b6:03:00:07"})"},
        Asked{{"onu", "reset", kMac, "--slot", "3"},
              R"({"command":"onu reset","mac":"00:0d:b6:03:00:07","slot":"3"})"},
        Asked{{"onu", "vlan", kMac, "0100"},
              R"({"command":"onu vlan","mac":"00:0d:b6:03:00:07","vlan":"100"})"},
        Asked{{"port", "vlan", "3/1", "100"},
              R"({"command":"port vlan","discard_untagged":"0","port":"3/1","vlan":"100"})"},
        Asked{{"port", "vlan", "3/1", "100", "--discard-untagged"},
              R"({"command":"port vlan","discard_untagged":"1","port":"3/1","vlan":"100"})"},
        Asked{{"port", "vlan", "3/1", "--remove"},
              R"({"command":"port vlan remove","port":"3/1"})"},
        Asked{{"alarm", "list"}, R"({"command":"alarm list"})"},
        Asked{{"alarm", "list", "--active", "--slot", "3"},
              R"({"active":true,"command":"alarm list","slot":"3"})"},
        Asked{{"alarm", "history"}, R"({"command":"alarm history"})"},
        Asked{{"alarm", "history", "--since", "24h", "--slot", "3", "--limit", "50"},
              R"({"command":"alarm history","limit":50,"since_seconds":86400,"slot":"3"})"},
        Asked{{"optics", kMac}, R"({"command":"optics","mac":"00:0d:b6:03:00:07"})"},
        Asked{{"optics", kMac, "--since", "90s"},
              R"({"command":"optics","mac":"00:0d:b6:03:00:07","since_seconds":90})"},
        Asked{{"events"}, R"({"command":"events"})"},
        Asked{{"events", "--limit", "20"}, R"({"command":"events","limit":20})"},
        Asked{{"status"}, R"({"command":"status"})"},
        Asked{{"send", "/any", "b=2", "a=x=y"},
              R"({"command":"send","data":{"a":"x=y","b":"2"},"uri":"/any"})"}));

struct Refused {
    Words words;
    const char* error;
};

void PrintTo(const Refused& refused, std::ostream* stream) {
    *stream << testing::PrintToString(refused.words);
}

class WrongArgument : public testing::TestWithParam<Refused> {};

TEST_P(WrongArgument, IsNamedWithWhatIsAllowedAndNothingIsSent) {
    ScriptedDbman dbman;
    dbman.start();
    const auto outcome = runProgram(GetParam().words);
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(GetParam().error));
    EXPECT_THAT(dbman.requests(), IsEmpty());
}

constexpr auto kOtherSlot = "slot \"9\" is not allowed: a slot is a number from 1 to 8";
constexpr auto kOtherTime = "is not allowed: a number and s, m, h or d, at most 3650d";

INSTANTIATE_TEST_SUITE_P(
    All, WrongArgument,
    testing::Values(
        Refused{{"slot", "set", "9", "--ip", "127.0.1.3"}, kOtherSlot},
        Refused{{"slot", "set", "3", "--ip", "here"}, "address \"here\" is not allowed: an IPv4"},
        Refused{{"slot", "set", "3", "--ip", "1.2.3.4", "--source", "5"}, "address \"5\""},
        Refused{{"slot", "set", "3"}, "--ip is required"},
        Refused{{"slot", "clear", "9"}, kOtherSlot}, Refused{{"slot", "clear", ""}, "slot \"\""},
        Refused{{"onu", "list", "--slot", "9"}, kOtherSlot},
        Refused{{"onu", "list", "--slot", "1", "--slot", "2"}, "--slot"},
        Refused{{"onu", "list", "--port", "2"}, "port \"2\" is not allowed: a card has the PON"},
        Refused{{"onu", "list", "--below", "dark"}, "level \"dark\" is not allowed: a number of"},
        Refused{{"onu", "list", "--below"}, "--below"},
        Refused{{"onu", "show", "1:2"}, "MAC address \"1:2\" is not allowed: six pairs of hex"},
        Refused{{"onu", "vlan", kMac, "4096"}, "VLAN \"4096\" is not allowed: a VLAN is a number"},
        Refused{{"port", "vlan", "3/2", "5"}, "port \"3/2\" is not allowed: a port is SLOT/PORT"},
        Refused{{"port", "vlan", "3/1"}, "a VLAN from 1 to 4095 or --remove is missing"},
        Refused{{"port", "vlan", "3/1", "5", "--remove"}, "--remove takes neither a VLAN nor"},
        Refused{{"alarm", "list", "--slot", "9"}, kOtherSlot},
        Refused{{"alarm", "history", "--since", "yesterday"}, kOtherTime},
        Refused{{"alarm", "history", "--limit", "0"},
                "count \"0\" is not allowed: a number from 1"},
        Refused{{"optics", "x"}, "MAC address \"x\" is not allowed"},
        Refused{{"optics", kMac, "--since", "24"}, kOtherTime},
        Refused{{"events", "--limit", "10001"}, "count \"10001\" is not allowed"},
        Refused{{"watch", "--interval", "fast"}, kOtherTime},
        Refused{{"completion", "fish"}, "shell \"fish\" is not allowed: bash"},
        Refused{{"send", "any"}, "uri \"any\" is not allowed: a uri begins with /"},
        Refused{{"send", "/any", "a"}, "value \"a\" is not allowed: KEY=VALUE"},
        Refused{{"send", "/any", "a=1", "a=2"}, "the key \"a\" is there twice"}));

struct Shown {
    Words words;
    const char* command;
    const char* answer;
    const char* text;
};

void PrintTo(const Shown& shown, std::ostream* stream) {
    *stream << testing::PrintToString(shown.words);
}

class CommandAnswer : public testing::TestWithParam<Shown> {};

TEST_P(CommandAnswer, IsShownForPeople) {
    ScriptedDbman dbman(Answers{{GetParam().command, GetParam().answer}});
    dbman.start();
    const auto outcome = runProgram(GetParam().words);
    EXPECT_EQ(outcome.out, GetParam().text);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.code, ExitCode::done);
}

TEST_P(CommandAnswer, IsHandedOnForPrograms) {
    ScriptedDbman dbman(Answers{{GetParam().command, GetParam().answer}});
    dbman.start();
    auto words = GetParam().words;
    words.emplace_back("--json");
    EXPECT_EQ(runProgram(words).out, std::string(GetParam().answer) + "\n");
}

constexpr auto kAlarm =
    R"({"alarms":[{"slot_id":"3","resource":"OLT Port: EPON-0","alarm":"Loss of Signal",)"
    R"("state":"raised","raised":"2031-02-03T04:05:06.789Z","cleared":"","count":2,)"
    R"("last_change":"2031-02-03T04:05:06.789Z"}]})";

INSTANTIATE_TEST_SUITE_P(
    All, CommandAnswer,
    testing::Values(
        Shown{{"slot", "list"},
              "slot list",
              R"({"slots":[{"slot_id":"1","ip_address":"127.0.1.1","source_address":"127.0.0.1",)"
              R"("wanted":"enabled"},{"slot_id":"2","ip_address":"","wanted":"unset"}]})",
              "slot  address    source     wanted\n"
              "1     127.0.1.1  127.0.0.1  enabled\n"
              "2     -          -          unset\n"},
        Shown{{"slot", "set", "3", "--ip", "127.0.1.3"},
              "slot set",
              R"({"sent":[],"stored":true,"note":"the daemon isn't there yet"})",
              "the daemon isn't there yet\n"},
        Shown{{"alarm", "list"},
              "alarm list",
              kAlarm,
              "slot  resource          alarm           state   raised                    cleared  "
              "count  last change\n"
              "3     OLT Port: EPON-0  Loss of Signal  raised  2031-02-03T04:05:06.789Z  -        "
              "2      2031-02-03T04:05:06.789Z\n"},
        Shown{{"alarm", "history"},
              "alarm history",
              R"({"events":[{"id":5,"time":"2031-02-03T04:05:06.789Z","slot_id":"3",)"
              R"("resource":"OLT Port: EPON-0","alarm":"Loss of Signal","state":"cleared",)"
              R"("datetime":"03/02/2031 04:05:06"}]})",
              "time                      slot  resource          alarm           state    "
              "card's time\n"
              "2031-02-03T04:05:06.789Z  3     OLT Port: EPON-0  Loss of Signal  cleared  "
              "03/02/2031 04:05:06\n"},
        Shown{{"onu", "show", kMac},
              "onu show",
              R"({"onu":{"mac_address":"00:0d:b6:03:00:07","slot_id":"3"},"alarms":[],)"
              R"("optics":{"rx_power":"-14.20"}})",
              "what         value\n"
              "mac_address  00:0d:b6:03:00:07\n"
              "slot_id      3\n"
              "\n"
              "last reading  value\n"
              "rx_power      -14.20\n"
              "\n"
              "no active alarm\n"},
        Shown{{"events"},
              "events",
              R"({"events":[{"id":1,"time":"T1","kind":"command","text":"T1 sent /slot/reset"},)"
              R"({"id":2,"time":"T2","kind":"alarm","text":"raised"}],"last_id":2})",
              "T1 sent /slot/reset\nT2 raised\n"}));

TEST(CommandAnswer, OfTheStatusNamesTheDatabase) {
    ScriptedDbman dbman(Answers{{"status", R"({"uptime_seconds":5,"database":{"file":"/var/x.db",)"
                                           R"("size_bytes":4096,"schema":1,"last_commit":"T",)"
                                           R"("waiting_writes":0,"lost_writes":0,"error":""}})"}});
    dbman.start();
    EXPECT_THAT(runProgram({"status"}).out, HasSubstr("database                 /var/x.db\n"
                                                      "database bytes           4096\n"
                                                      "database schema          1\n"
                                                      "database last commit     T\n"
                                                      "database waiting writes  0\n"
                                                      "database lost writes     0\n"
                                                      "database error           -\n"));
}

TEST(CommandAnswer, ThatIsNoJsonIsAFailure) {
    ScriptedDbman dbman(Answers{{"card list", "hello"}, {"slot list", "[]"}});
    dbman.start();
    EXPECT_EQ(runProgram({"card", "list"}).code, ExitCode::failed);
    EXPECT_EQ(runProgram({"slot", "list"}).err,
              "dbman: dbman answered something that isn't an object\n");
}

class HostileAnswer : public testing::TestWithParam<const char*> {};

TEST_P(HostileAnswer, IsShownOrRefusedButNeverCrashes) {
    const Words names = {"slot list", "card list", "onu list",      "onu show", "alarm list",
                         "optics",    "events",    "alarm history", "status",   "slot reset"};
    ScriptedDbman dbman;
    for (const auto& name : names) {
        dbman.script(name, GetParam());
    }
    dbman.start();
    for (const auto& words : {Words{"slot", "list"}, Words{"card", "list"}, Words{"onu", "list"},
                              Words{"onu", "show", kMac}, Words{"alarm", "list"},
                              Words{"optics", kMac}, Words{"events"}, Words{"alarm", "history"},
                              Words{"status"}, Words{"slot", "reset", "1"}, Words{"watch"}}) {
        EXPECT_NE(runProgram(words).code, ExitCode::usage) << testing::PrintToString(words);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Answers, HostileAnswer,
    testing::Values(
        "", "{}", "[]", "7", "null", R"({"error":7})",
        R"({"slots":7,"cards":{},"onus":"x","alarms":null,"events":[7],"samples":true})",
        R"({"slots":[7],"cards":[[]],"onus":[null],"alarms":["x"],"events":{"a":1},)"
        R"("onu":7,"optics":[],"samples":[[1]],"notifications":3,"database":[],)"
        R"("sent":[7],"note":7})",
        R"({"sent":{"a":{"uri":7,"data":[]}},"onu":{"a":{}},"optics":{"a":[]}})"));

TEST(Command, TakesTheControlPathBeforeTheCommandToo) {
    const auto outcome = runProgram({"--control", "/tmp/x.ctl", "card", "list"});
    EXPECT_EQ(outcome.code, ExitCode::notRunning);
    EXPECT_THAT(outcome.err, HasSubstr("no dbman listens at /tmp/x.ctl"));
}

TEST(Command, HelpEndsInAnExample) {
    EXPECT_THAT(runProgram({"slot", "set", "--help"}).out,
                HasSubstr("Example:\n  dbman slot set 3 --ip 10.0.0.103"));
}

TEST(Command, IsMissingWithoutATerminal) {
    const auto outcome = runProgram({});
    EXPECT_EQ(outcome.code, ExitCode::usage);
    EXPECT_THAT(outcome.err, HasSubstr("a command is needed; there are: serve, slot, card, "));
}

}  // namespace

}  // namespace ponmgr::dbman
