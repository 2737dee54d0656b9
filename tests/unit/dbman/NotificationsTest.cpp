#include "NotificationsFixture.h"
#include "dbman/Notifications.h"

namespace ponmgr::dbman {

namespace {

class NotificationsTest : public test::NotificationsFixture {};

TEST_F(NotificationsTest, ANewCardIsKeptAndShown) {
    handle("/olt/new", R"({"app_version":"0102","id":"0","mac_address":"00:0d:b6:00:00:03",)"
                       R"("nvs_enabled":"0","online_status":"1","slot_id":"3",)"
                       R"("status_reported":"0","module_olt_table":[)"
                       R"({"id":"0","ucOpticModuleOltVcc":"3.3"},{"id":"0"}]})");
    const auto card = inventory.cards().at(1);
    EXPECT_EQ(card.slot, 3);
    EXPECT_EQ(card.state, State::online);
    EXPECT_EQ(valueOf(card.record, "mac_address"), "00:0d:b6:00:00:03");
    EXPECT_EQ(valueOf(card.record, "app_version"), "0102");
    EXPECT_EQ(valueOf(card.record, "nvs_enabled"), "0");
    EXPECT_EQ(card.lastReport, time);
    ASSERT_EQ(card.moduleOltTable.size(), 2U);
    EXPECT_EQ(valueOf(card.moduleOltTable[0], "ucOpticModuleOltVcc"), "3.3");
    EXPECT_EQ(shown(), line("/olt/new slot 3 on-line mac 00:0d:b6:00:00:03 app 0102"));
    EXPECT_EQ(countedOf("/olt/new"), 1U);
}

TEST_F(NotificationsTest, ACardThatIsNotIdentifiedIsShownWithDashes) {
    handle("/olt/new", R"({"mac_address":"","app_version":"","online_status":"0","slot_id":"1"})");
    EXPECT_EQ(shown(), line("/olt/new slot 1 off-line mac - app -"));
    EXPECT_EQ(inventory.cards().at(0).state, State::offline);
}

TEST_F(NotificationsTest, AllCardsOfflineMarksEveryCard) {
    handle("/olt/new", R"({"online_status":"1","slot_id":"3"})");
    shown();
    handle("/olt/set/all/offline", "{}");
    for (const auto& card : inventory.cards()) {
        EXPECT_EQ(card.state, State::offline) << card.slot;
    }
    EXPECT_EQ(shown(), line("/olt/set/all/offline all cards off-line"));
}

TEST_F(NotificationsTest, ANewOnuKeepsAllTextOfItsRecord) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"3","pon_port":"1",)"
                       R"("online_status":"1","temperature":"41.2","later":"more","number":7})");
    const auto onu = inventory.findOnu("00:11:22:33:44:55");
    ASSERT_TRUE(onu);
    EXPECT_EQ(onu->slot, 3);
    EXPECT_EQ(onu->state, State::online);
    EXPECT_EQ(valueOf(onu->record, "temperature"), "41.2");
    EXPECT_EQ(valueOf(onu->record, "later"), "more");
    EXPECT_FALSE(onu->record.contains("number"));
    EXPECT_EQ(shown(), line("/onu/new 00:11:22:33:44:55 slot 3 port 1 on-line"));
}

TEST_F(NotificationsTest, AnOnuIsFoundByItsMacAddressInEitherCase) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:AA","online_status":"1"})");
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:aa","online_status":"0"})");
    EXPECT_EQ(inventory.onus(std::nullopt).size(), 1U);
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:aa")->state, State::offline);
}

TEST_F(NotificationsTest, AnOnusAlarmsAreShown) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:55","online_status":"0",)"
                       R"("slot_id":"3","pon_port":"-","alarm_message":"Report Timeout"})");
    EXPECT_EQ(shown(),
              line("/onu/new 00:11:22:33:44:55 slot 3 port - off-line alarms Report Timeout"));
}

TEST_F(NotificationsTest, AllOnusOfflineWithoutASlotMarksEveryOnu) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:01","slot_id":"1","online_status":"1"})");
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:03","slot_id":"3","online_status":"1"})");
    shown();
    handle("/onu/set/all/offline", "{}");
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:01")->state, State::offline);
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:03")->state, State::offline);
    EXPECT_EQ(shown(), line("/onu/set/all/offline all ONUs off-line"));
}

TEST_F(NotificationsTest, AllOnusOfflineWithASlotLeavesTheOthersAlone) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:01","slot_id":"1","online_status":"1"})");
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:03","slot_id":"3","online_status":"1"})");
    shown();
    handle("/onu/set/all/offline", R"({"id":"0","slot_id":"3"})");
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:01")->state, State::online);
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:03")->state, State::offline);
    EXPECT_EQ(shown(), line("/onu/set/all/offline slot 3 all its ONUs off-line"));
}

TEST_F(NotificationsTest, TheQuestionForAddressesIsAnsweredOnce) {
    handle("/olt/get/all/ip", "{}");
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(shown(), line("/olt/get/all/ip the daemon asks for the addresses"));
}

TEST_F(NotificationsTest, EachAlarmIsALine) {
    handle("/olt/alarm/new",
           R"({"id":"0","alarm_list":[)"
           R"({"alarm":"Report Timeout","label":"ONU Link: 00:11:22:33:44:55","state":"Off",)"
           R"("slot_id":"3","datetime":"2031-02-03 04:05:06"},)"
           R"({"alarm":"LOS","label":"OLT Port: EPON 0","state":"On","slot_id":"3"}]})");
    EXPECT_EQ(shown(), line("/olt/alarm/new slot 3 Off \"Report Timeout\" at "
                            "ONU Link: 00:11:22:33:44:55, 2031-02-03 04:05:06") +
                           line("/olt/alarm/new slot 3 On \"LOS\" at OLT Port: EPON 0, -"));
    EXPECT_EQ(countedOf("/olt/alarm/new"), 1U);
}

TEST_F(NotificationsTest, AnUnknownUriIsCountedAndShown) {
    handle("/olt/else", R"({"a":"b"})");
    EXPECT_EQ(counted("unknown"), 1U);
    EXPECT_EQ(
        shown(),
        line(R"(unknown uri "/olt/else": {"action":"set","uri":"/olt/else","data":{"a":"b"}})"));
}

TEST_F(NotificationsTest, QuietShowsNothingButKeepsAll) {
    std::ostringstream quietStream;
    Output quiet(quietStream, true);
    Notifications silent(
        state, counters, quiet, [](const HistoryRow&) {}, [] {});
    silent.handle(
        R"({"action":"set","uri":"/olt/new","data":{"slot_id":"3","online_status":"1"}})");
    silent.handle("x");
    EXPECT_EQ(quietStream.str(), "");
    EXPECT_EQ(inventory.cards().at(1).state, State::online);
}

}  // namespace

}  // namespace ponmgr::dbman
