// What of the notifications is kept: rows, alarm states, levels.

#include "NotificationsFixture.h"

namespace ponmgr::dbman {

namespace {

class NotificationsHistory : public test::NotificationsFixture {
protected:
    void report(const std::string& rest) {
        handle("/onu/new",
               R"({"mac_address":"00:11:22:33:44:55","slot_id":"3","pon_port":"1",)" + rest + "}");
    }

    void alarm(const std::string& slot, const std::string& told, const std::string& name) {
        handle("/olt/alarm/new",
               R"({"id":"0","alarm_list":[{"alarm":")" + name +
                   R"(","datetime":"20/11/2026 23:50:12","id":"0","label":"OLT Port: EPON-0",)" +
                   R"("slot_id":")" + slot + R"(","state":")" + told + R"("}]})");
    }
};

TEST_F(NotificationsHistory, EveryMessageIsKeptAsItArrived) {
    handle("/olt/set/all/offline", "{}");
    notifications.handle("not JSON");
    handle("/olt/else", "{}");
    const auto messages = kept<NotificationRow>();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].raw, R"({"action":"set","uri":"/olt/set/all/offline","data":{}})");
    EXPECT_EQ(messages[0].uri, "/olt/set/all/offline");
    EXPECT_EQ(messages[0].verdict, "ok");
    EXPECT_EQ(messages[0].time, time);
    EXPECT_EQ(messages[1].raw, "not JSON");
    EXPECT_EQ(messages[1].uri, "");
    EXPECT_EQ(messages[1].verdict, "not JSON");
    EXPECT_EQ(messages[2].uri, "/olt/else");
    EXPECT_EQ(messages[2].verdict, "unknown");
}

TEST_F(NotificationsHistory, AHugeMessageIsKeptInPartWithItsLength) {
    notifications.handle(std::string(1'000'000, 'x'));
    const auto row = kept<NotificationRow>().at(0);
    EXPECT_EQ(row.bytes, 1'000'000U);
    EXPECT_EQ(row.raw.size(), 4096U);
}

TEST_F(NotificationsHistory, AHugeUriIsKeptInPart) {
    handle("/" + std::string(100'000, 'u'), "{}");
    EXPECT_EQ(kept<NotificationRow>().at(0).uri.size(), 128U);
}

TEST_F(NotificationsHistory, AnOnuThatIsOnLineHasLostNothingAnyMore) {
    const AlarmKey timeout{3, "ONU Link: 00:11:22:33:44:55", "Report Timeout"};
    state.alarms.report(timeout, true, time);
    report(R"("online_status":"0")");
    EXPECT_EQ(state.alarms.states(3, true).size(), 1U);
    report(R"("online_status":"1")");
    EXPECT_EQ(state.alarms.states(3, true).size(), 0U);
}

TEST_F(NotificationsHistory, AnAlarmChangesItsStateAndIsKept) {
    alarm("3", "On", "Loss of Signal");
    const auto states = state.alarms.states(3, true);
    ASSERT_EQ(states.size(), 1U);
    EXPECT_EQ(states[0].key.resource, "OLT Port: EPON-0");
    EXPECT_EQ(states[0].key.alarm, "Loss of Signal");
    EXPECT_EQ(states[0].raised, time);
    alarm("3", "Off", "Loss of Signal");
    EXPECT_TRUE(state.alarms.states(3, true).empty());
    const auto events = kept<AlarmEvent>();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_TRUE(events[0].isRaised);
    EXPECT_FALSE(events[1].isRaised);
    EXPECT_EQ(events[1].datetime, "20/11/2026 23:50:12");
    EXPECT_EQ(counted("malformed"), 0U);
}

TEST_F(NotificationsHistory, AnAlarmThatTakesThePlaceOfAnActiveOneIsKeptToo) {
    for (std::size_t number = 0; number < AlarmStates::kMaximumStatesOfASlot; ++number) {
        state.alarms.report({3, "ONU Link: " + std::to_string(number), "LOS"}, true, time);
    }
    alarm("3", "On", "Temperature");
    EXPECT_EQ(kept<AlarmEvent>().at(0).key.alarm, "Temperature");
    EXPECT_EQ(state.alarms.states(3, true).size(), AlarmStates::kMaximumStatesOfASlot);
    EXPECT_EQ(counted("alarms_displaced"), 1U);
    EXPECT_EQ(counted("malformed"), 0U);
    EXPECT_THAT(
        shown(),
        testing::HasSubstr("/olt/alarm/new 1 active alarms made room: more than 2048 of a slot\n"));
}

class NoAlarm : public NotificationsHistory,
                public testing::WithParamInterface<std::array<const char*, 3>> {};

TEST_P(NoAlarm, ChangesNoStateAndIsCounted) {
    alarm(GetParam()[0], GetParam()[1], GetParam()[2]);
    EXPECT_TRUE(state.alarms.states(std::nullopt, false).empty());
    EXPECT_TRUE(kept<AlarmEvent>().empty());
    EXPECT_EQ(kept<NotificationRow>().size(), 1U);
    EXPECT_EQ(counted("malformed"), 1U);
    EXPECT_THAT(shown(), testing::HasSubstr("1 of them changed no alarm state\n"));
}

INSTANTIATE_TEST_SUITE_P(Rows, NoAlarm,
                         testing::Values(std::array{"9", "On", "LOS"}, std::array{"", "On", "LOS"},
                                         std::array{"3", "on", "LOS"}, std::array{"3", "", "LOS"},
                                         std::array{"3", "On", ""}));

TEST_F(NotificationsHistory, AHugeAlarmTextIsKeptInPart) {
    alarm("3", "On", std::string(100'000, 'a'));
    EXPECT_EQ(kept<AlarmEvent>().at(0).key.alarm.size(), 256U);
}

TEST_F(NotificationsHistory, AnOnusLevelsAreKeptWhenOneChanges) {
    report(R"("tx_power_input":"-14.20","temperature":"41")");
    report(R"("tx_power_input":"-14.20","temperature":"41","ether_up_status":"1")");
    report(R"("tx_power_input":"-25.00","temperature":"41")");
    const auto samples = kept<OpticsSample>();
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_EQ(samples[0].macAddress, "00:11:22:33:44:55");
    EXPECT_EQ(samples[0].slot, 3);
    EXPECT_EQ(samples[0].port, "1");
    EXPECT_EQ(samples[0].levels, (Record{{"temperature", "41"}, {"tx_power_input", "-14.20"}}));
    EXPECT_EQ(valueOf(samples[1].levels, "tx_power_input"), "-25.00");
}

TEST_F(NotificationsHistory, LevelsThatWereNotReadAreNotKept) {
    report(R"("tx_power_input":"-","temperature":"-")");
    EXPECT_TRUE(kept<OpticsSample>().empty());
}

TEST_F(NotificationsHistory, AModulesLevelsAreKeptForThePortThatChanges) {
    const auto card = [this](const std::string& mac, const std::string& second) {
        handle("/olt/new", R"({"slot_id":"3","online_status":"1","mac_address":")" + mac +
                               R"(","module_olt_table":[{"ucOpticModuleOltTxPower":"4.0"},)"
                               R"({"ucOpticModuleOltTxPower":")" +
                               second + R"("}]})");
    };
    card("", "3.0");
    EXPECT_TRUE(kept<OpticsSample>().empty());
    rows.clear();
    card("00:0d:b6:00:00:03", "3.1");
    card("00:0d:b6:00:00:03", "3.2");
    const auto samples = kept<OpticsSample>();
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_EQ(samples[0].macAddress, "00:0d:b6:00:00:03");
    EXPECT_EQ(samples[0].port, "1");
    EXPECT_EQ(samples[1].levels, (Record{{"ucOpticModuleOltTxPower", "3.2"}}));
}

TEST_F(NotificationsHistory, TheOnuThatWasOfflineForLongestMakesRoomForANewOne) {
    inventory.updateOnu("oldest", 1, {{"online_status", "0"}}, time);
    for (std::size_t number = 1; number < Inventory::kMaximumOnusOfASlot; ++number) {
        inventory.updateOnu(std::to_string(number), 1, {{"online_status", "0"}},
                            time + std::chrono::seconds(1));
    }
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"1","online_status":"1"})");
    EXPECT_TRUE(inventory.findOnu("00:11:22:33:44:55"));
    EXPECT_FALSE(inventory.findOnu("oldest"));
    EXPECT_EQ(inventory.takeChanges().removedOnus, std::vector<std::string>{"oldest"});
}

TEST_F(NotificationsHistory, RemovedOnusThatNobodyTakesBecomeAllThereAre) {
    inventory.updateOnu("stays", 1, {}, time);
    for (int number = 0; number < 10'000; ++number) {
        inventory.updateOnu(std::to_string(number), 1, {}, time);
        inventory.removeOnu(std::to_string(number));
    }
    const auto changes = inventory.takeChanges();
    EXPECT_TRUE(changes.allOnus);
    ASSERT_EQ(changes.onus.size(), 1U);
    EXPECT_EQ(changes.onus[0].macAddress, "stays");
}

}  // namespace

}  // namespace ponmgr::dbman
