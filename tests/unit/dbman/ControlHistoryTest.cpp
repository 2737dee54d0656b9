// The commands about slots, alarms, levels and events, as clients see them.

#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/ControlClient.h"
#include "store/StoreFixture.h"

namespace ponmgr::dbman {

namespace {

using test::FakeDaemon;
using test::notification;
using test::notify;
using test::RunningServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto kMac = "00:11:22:33:44:55";

std::string ask(const std::string& request) {
    return askDbman(kDefaultControlPath, request);
}

Json askJson(const std::string& request) {
    return parseJson(ask(request));
}

/// A dbman whose daemon reports what the test says.
class ControlHistory : public testing::Test {
protected:
    void report(const std::string& uri, const std::string& data) {
        notify(notification(uri, data));
        // The daemon's messages are handled in order.
        const auto mark = "/mark/" + std::to_string(++marks);
        notify(notification(mark, "{}"));
        ASSERT_TRUE(running.waitToShow(mark));
    }

    void reportOnu(const std::string& mac, const std::string& rest) {
        report("/onu/new", R"({"mac_address":")" + mac + R"(","slot_id":"3",)" + rest + "}");
    }

    void reportAlarm(const std::string& state, const std::string& label,
                     const std::string& slot = "3") {
        report("/olt/alarm/new", R"({"alarm_list":[{"alarm":"Loss of Signal","label":")" + label +
                                     R"(","state":")" + state + R"(","slot_id":")" + slot +
                                     R"(","datetime":"20/11/2026 23:50:12"}]})");
    }

    RunningServer running;
    int marks = 0;
};

TEST_F(ControlHistory, ListsAllEightSlots) {
    const auto slots = askJson(R"({"command":"slot list"})")["slots"];
    ASSERT_EQ(slots.size(), 8U);
    EXPECT_EQ(printJson(slots[2]), R"({"ip_address":"127.0.1.3","slot_id":"3",)"
                                   R"("source_address":"127.0.0.1","wanted":"unset"})");
    EXPECT_EQ(slots[1]["ip_address"], "");
}

TEST_F(ControlHistory, ASlotThatIsSetIsSentAndListed) {
    const FakeDaemon daemon;
    EXPECT_EQ(ask(R"({"command":"slot set","slot":"2","ip":"10.0.0.2","source":"10.0.0.1"})"),
              R"({"sent":[{"uri":"/olt/src_ip","data":{"slot_id":"2","ip_address":"10.0.0.1"}},)"
              R"({"uri":"/olt/ip","data":{"slot_id":"2","ip_address":"10.0.0.2"}}]})");
    EXPECT_THAT(daemon.waitForCommands(2),
                ElementsAre(HasSubstr(R"("/olt/src_ip","data":{"slot_id":"2")"),
                            HasSubstr(R"("/olt/ip","data":{"slot_id":"2")")));
    EXPECT_THAT(ask(R"({"command":"slot list"})"), HasSubstr(R"("ip_address":"10.0.0.2")"));
    EXPECT_THAT(ask(R"({"command":"card list"})"), HasSubstr(R"("ip_address":"10.0.0.2")"));
}

TEST_F(ControlHistory, ASlotThatIsSetWithoutADaemonIsStoredAndSentOnceItListens) {
    const auto answer = askJson(R"({"command":"slot set","slot":"2","ip":"10.0.0.2"})");
    EXPECT_TRUE(answer["sent"].empty());
    EXPECT_EQ(answer["stored"], true);
    EXPECT_EQ(stringMember(answer, "note"),
              "the daemon hasn't taken it yet; it is tried again for some seconds, and a daemon "
              "that starts asks for all addresses");
    const FakeDaemon daemon;
    EXPECT_THAT(daemon.waitForCommands(2),
                ElementsAre(HasSubstr(R"("slot_id":"2","ip_address":"127.0.0.1")"),
                            HasSubstr(R"("slot_id":"2","ip_address":"10.0.0.2")")));
}

TEST_F(ControlHistory, AClearedSlotHasNoAddressAndACardOfUnknownState) {
    report("/olt/new", R"({"slot_id":"3","online_status":"1"})");
    const FakeDaemon daemon;
    EXPECT_EQ(ask(R"({"command":"slot clear","slot":"3"})"),
              R"({"sent":[{"uri":"/olt/ip","data":{"slot_id":"3","ip_address":""}}]})");
    EXPECT_THAT(
        ask(R"({"command":"card list"})"),
        HasSubstr(R"("slot_id":"3","ip_address":"","source_address":"","state":"unknown")"));
    EXPECT_THAT(ask(R"({"command":"slot announce","slot":"3"})"), HasSubstr("has no address"));
    EXPECT_EQ(daemon.waitForCommands(1).size(), 1U);
}

TEST_F(ControlHistory, WhatIsWantedOfASlotIsKeptOnceTheDaemonHasTakenIt) {
    ask(R"({"command":"slot disable","slot":"3"})");
    EXPECT_THAT(ask(R"({"command":"slot list"})"), Not(HasSubstr("disabled")));
    const FakeDaemon daemon;
    ask(R"({"command":"slot disable","slot":"3"})");
    ask(R"({"command":"slot enable","slot":"4"})");
    const auto slots = askJson(R"({"command":"slot list"})")["slots"];
    EXPECT_EQ(slots[2]["wanted"], "disabled");
    EXPECT_EQ(slots[3]["wanted"], "enabled");
}

TEST_F(ControlHistory, OnusAreListedByPortStateAndReceivedLevel) {
    reportOnu("00:11:22:33:44:01",
              R"("pon_port":"0","online_status":"1","tx_power_input":"-20.1")");
    reportOnu("00:11:22:33:44:02", R"("pon_port":"1","online_status":"0","tx_power_input":"-")");
    reportOnu("00:11:22:33:44:03", R"("pon_port":"1","online_status":"1","tx_power_input":"-inf")");
    const auto macs = [](const char* filter) {
        std::string found;
        const auto answer = askJson(std::string(R"({"command":"onu list",)") + filter + "}");
        for (const auto& onu : answer["onus"]) {
            found += stringMember(onu, "mac_address").back();
        }
        return found;
    };
    EXPECT_EQ(macs(R"("port":"1")"), "23");
    EXPECT_EQ(macs(R"("offline":true)"), "2");
    EXPECT_EQ(macs(R"("offline":false)"), "123");
    EXPECT_EQ(macs(R"("below":-20.1)"), "3");
    EXPECT_EQ(macs(R"("below":-20)"), "13");
    EXPECT_EQ(macs(R"("slot":"4","port":"1")"), "");
}

TEST_F(ControlHistory, AnOnuIsShownWithItsAlarmsAndItsLatestLevels) {
    reportOnu(kMac, R"("tx_power_input":"-20.10")");
    reportOnu(kMac, R"("tx_power_input":"-21.00")");
    reportAlarm("On", std::string("ONU Link: ") + kMac);
    reportAlarm("On", "OLT Port: EPON-0");
    const auto shown = askJson(R"({"command":"onu show","mac":"00:11:22:33:44:55"})");
    EXPECT_EQ(shown["onu"]["mac_address"], kMac);
    ASSERT_EQ(shown["alarms"].size(), 1U);
    EXPECT_EQ(shown["alarms"][0]["resource"], std::string("ONU Link: ") + kMac);
    EXPECT_EQ(shown["optics"]["tx_power_input"], "-21.00");
    EXPECT_EQ(ask(R"({"command":"onu show","mac":"00:11:22:33:44:66"})"),
              R"({"error":"the ONU 00:11:22:33:44:66 isn't known"})");
}

TEST_F(ControlHistory, AnOnuWithoutLevelsIsShownWithNone) {
    reportOnu(kMac, R"("online_status":"1")");
    EXPECT_THAT(ask(R"({"command":"onu show","mac":"00:11:22:33:44:55"})"),
                HasSubstr(R"("alarms":[],"optics":{}})"));
}

TEST_F(ControlHistory, ARemovedOnuLeavesNoRaisedAlarm) {
    const FakeDaemon daemon;
    reportOnu(kMac, R"("online_status":"1")");
    reportAlarm("On", std::string("ONU Link: ") + kMac);
    ask(R"({"command":"onu remove","mac":"00:11:22:33:44:55"})");
    EXPECT_EQ(ask(R"({"command":"alarm list","active":true})"), R"({"alarms":[]})");
}

TEST_F(ControlHistory, AlarmsAreListedAsStates) {
    reportAlarm("On", "OLT Port: EPON-0");
    reportAlarm("On", "OLT Port: EPON-0");
    reportAlarm("Off", "OLT Port: EPON-1", "4");
    const auto all = askJson(R"({"command":"alarm list"})")["alarms"];
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0]["slot_id"], "3");
    EXPECT_EQ(all[0]["resource"], "OLT Port: EPON-0");
    EXPECT_EQ(all[0]["alarm"], "Loss of Signal");
    EXPECT_EQ(all[0]["state"], "raised");
    EXPECT_EQ(all[0]["count"], 2);
    EXPECT_EQ(all[0]["cleared"], "");
    EXPECT_THAT(stringMember(all[0], "raised"), testing::EndsWith("Z"));
    EXPECT_EQ(all[1]["state"], "cleared");
    EXPECT_EQ(askJson(R"({"command":"alarm list","active":true})")["alarms"].size(), 1U);
    EXPECT_EQ(askJson(R"({"command":"alarm list","slot":"4"})")["alarms"].size(), 1U);
}

TEST_F(ControlHistory, AlarmsAreListedAsTheyHappened) {
    reportAlarm("On", "OLT Port: EPON-0");
    reportAlarm("Off", "OLT Port: EPON-0");
    reportAlarm("On", "OLT Port: EPON-1", "4");
    const auto all = askJson(R"({"command":"alarm history"})")["events"];
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0]["state"], "raised");
    EXPECT_EQ(all[1]["state"], "cleared");
    EXPECT_EQ(all[1]["datetime"], "20/11/2026 23:50:12");
    EXPECT_LT(all[0]["id"], all[1]["id"]);
    EXPECT_EQ(askJson(R"({"command":"alarm history","slot":"3"})")["events"].size(), 2U);
    const auto last = askJson(R"({"command":"alarm history","limit":1})")["events"];
    ASSERT_EQ(last.size(), 1U);
    EXPECT_EQ(last[0]["slot_id"], "4");
}

TEST_F(ControlHistory, LevelsAreListedOldestFirst) {
    reportOnu(kMac, R"("pon_port":"1","tx_power_input":"-20.10")");
    reportOnu(kMac, R"("pon_port":"1","tx_power_input":"-21.00")");
    const auto optics = askJson(R"({"command":"optics","mac":"00:11:22:33:44:55"})");
    EXPECT_EQ(optics["mac_address"], kMac);
    ASSERT_EQ(optics["samples"].size(), 2U);
    EXPECT_EQ(optics["samples"][0]["tx_power_input"], "-20.10");
    EXPECT_EQ(optics["samples"][0]["port"], "1");
    EXPECT_EQ(optics["samples"][1]["tx_power_input"], "-21.00");
    EXPECT_TRUE(askJson(R"({"command":"optics","mac":"00:11:22:33:44:66"})")["samples"].empty());
}

TEST_F(ControlHistory, EventsFollowOneAnother) {
    reportAlarm("On", "OLT Port: EPON-0");
    const auto first = askJson(R"({"command":"events","limit":2})");
    ASSERT_EQ(first["events"].size(), 2U);
    EXPECT_EQ(first["events"][0]["kind"], "alarm");
    EXPECT_EQ(first["events"][1]["kind"], "warning");
    EXPECT_THAT(stringMember(first["events"][1], "text"),
                testing::StartsWith("unknown uri \"/mark"));
    EXPECT_EQ(first["last_id"], first["events"][1]["id"]);
    const auto after = R"({"command":"events","after":)" + printJson(first["last_id"]) + "}";
    EXPECT_EQ(ask(after), R"({"events":[],"last_id":)" + printJson(first["last_id"]) + "}");
    const FakeDaemon daemon;
    ask(R"({"command":"slot reset","slot":"3"})");
    const auto next = askJson(after);
    ASSERT_EQ(next["events"].size(), 1U);
    EXPECT_EQ(next["events"][0]["kind"], "command");
    EXPECT_EQ(next["events"][0]["text"], "sent /slot/reset slot_id=3");
}

TEST_F(ControlHistory, StatusTellsHowTheDatabaseIsDoing) {
    const auto database = askJson(R"({"command":"status"})")["database"];
    EXPECT_EQ(database["file"], "/tmp/dbman.db");
    EXPECT_GT(database["size_bytes"], 4096);
    EXPECT_EQ(database["schema"], 4);
    EXPECT_TRUE(database["last_commit"].is_string());
    EXPECT_TRUE(database["waiting_writes"].is_number());
    EXPECT_EQ(database["lost_writes"], 0);
    EXPECT_EQ(database["error"], "");
}

TEST_F(ControlHistory, HostileMessagesAreCountedAndKeptAndDoNoHarm) {
    const std::vector<std::string> messages = {
        std::string(60'000, 'x'),
        std::string(30'000, '[') + std::string(30'000, ']'),
        std::string("a\0b", 3),
        "\xff\xfe\xc3(",
        R"({"action":"set","uri":7,"data":{}})",
        R"({"action":"set","uri":"/olt/new","data":[]})",
        R"({"action":"set","uri":"/olt/new","data":{"slot_id":3}})",
        R"({"action":"get","uri":"/olt/new","data":{"slot_id":"3"}})",
    };
    for (const auto& message : messages) {
        notify(message);
    }
    reportOnu(kMac, R"("alarm_message":"a\u0000b","online_status":"1")");
    EXPECT_EQ(askJson(R"({"command":"status"})")["malformed"], messages.size());
    askJson(R"({"command":"alarm history"})");
    EXPECT_THAT(test::valuesIn(test::kDatabaseFile,
                               "SELECT raw FROM notifications WHERE verdict NOT IN "
                               "('ok', 'unknown') ORDER BY id"),
                ElementsAre(messages[0].substr(0, 4096), messages[1].substr(0, 4096), messages[2],
                            messages[3], messages[4], messages[5], messages[6], messages[7]));
    EXPECT_THAT(test::valuesIn(test::kDatabaseFile, "PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_THAT(ask(R"({"command":"onu list"})"), HasSubstr(R"("alarm_message":"a\u0000b")"));
}

struct Refusal {
    const char* request;
    const char* error;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.request;
}

class RefusedArgument : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedArgument, IsNamedWithWhatIsAllowed) {
    const RunningServer running;
    EXPECT_EQ(stringMember(askJson(GetParam().request), "error"), GetParam().error);
    EXPECT_THAT(ask(R"({"command":"slot list"})"), Not(HasSubstr("10.0.0")));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, RefusedArgument,
    testing::Values(
        Refusal{R"({"command":"slot set","slot":"9","ip":"10.0.0.3"})",
                "slot \"9\" is not allowed: a slot is a number from 1 to 8"},
        Refusal{R"({"command":"slot set","slot":"3","ip":"224.0.0.1"})",
                "address \"224.0.0.1\" is not allowed: the address of one host, 1.0.0.0 to "
                "223.255.255.255"},
        Refusal{R"({"command":"slot set","slot":"3","ip":"127.0.1.1"})",
                "slot 1 has the address 127.0.1.1 already; each card has its own"},
        Refusal{R"({"command":"slot set","slot":"3"})",
                "address \"\" is not allowed: an IPv4 address in dotted form, such as 127.0.1.3"},
        Refusal{R"({"command":"slot set","slot":"3","ip":"10.0.0.3","source":7})",
                "address \"\" is not allowed: an IPv4 address in dotted form, such as 127.0.1.3"},
        Refusal{R"({"command":"onu list","port":"2"})",
                "\"port\" \"2\" is not allowed: a port is the text \"0\" or \"1\""},
        Refusal{R"({"command":"onu list","offline":"yes"})",
                "\"offline\" \"yes\" is not allowed: true or false"},
        Refusal{R"({"command":"onu list","below":"-25"})",
                "\"below\" \"-25\" is not allowed: a number of dBm from -60 to 20, such as -25"},
        Refusal{R"({"command":"onu list","below":-60.5})",
                "\"below\" -60.5 is not allowed: a number of dBm from -60 to 20, such as -25"},
        Refusal{R"({"command":"alarm history","since_seconds":0})",
                "\"since_seconds\" 0 is not allowed: a whole number from 1 to 315360000"},
        Refusal{R"({"command":"alarm history","limit":18446744073709551615})",
                "\"limit\" 18446744073709551615 is not allowed: a whole number from 1 to 10000"},
        Refusal{R"({"command":"events","after":-1})",
                "\"after\" -1 is not allowed: a whole number from 0 to 9223372036854775807"},
        Refusal{R"({"command":"events","limit":2.5})",
                "\"limit\" 2.5 is not allowed: a whole number from 1 to 10000"}));

}  // namespace

}  // namespace ponmgr::dbman
