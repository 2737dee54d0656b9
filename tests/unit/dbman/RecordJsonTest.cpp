#include "dbman/RecordJson.h"

namespace ponmgr::dbman {

namespace {

const Time kTime = Time() + std::chrono::seconds(1'000'000'000);

TEST(CardJson, HasEveryKeyBeforeAnythingWasReported) {
    Card card;
    card.slot = 3;
    card.address = "127.0.1.3";
    card.source = "127.0.0.1";
    EXPECT_EQ(
        printJson(toJson(card)),
        R"({"slot_id":"3","ip_address":"127.0.1.3","source_address":"127.0.0.1",)"
        R"("state":"unknown","online_status":"","mac_address":"","app_version":"",)"
        R"("nvs_enabled":"","module_olt_table":[],"last_report":"","reported_since_start":false})");
}

TEST(CardJson, HasTheReportedValues) {
    Card card;
    card.slot = 3;
    card.state = State::online;
    card.record = {{"online_status", "1"}, {"mac_address", "m"}, {"app_version", "v"}};
    card.moduleOltTable = {{{"a", "1"}}, {}};
    card.lastReport = kTime;
    EXPECT_EQ(
        printJson(toJson(std::vector<Card>{card})),
        R"({"cards":[{"slot_id":"3","ip_address":"","source_address":"","state":"on-line",)"
        R"("online_status":"1","mac_address":"m","app_version":"v","nvs_enabled":"",)"
        R"("module_olt_table":[{"a":"1"},{}],"last_report":"2001-09-09T01:46:40.000Z","reported_since_start":false}]})");
}

TEST(OnuJson, HasTheWholeRecordButNotInPlaceOfOurOwnKeys) {
    Onu onu;
    onu.macAddress = "m";
    onu.slot = 3;
    onu.state = State::offline;
    onu.record = {{"pon_port", "1"}, {"state", "fake"}, {"slot_id", "3"}};
    onu.lastReport = kTime;
    EXPECT_EQ(
        printJson(toJson(std::vector<Onu>{onu})),
        R"({"onus":[{"mac_address":"m","slot_id":"3","state":"off-line",)"
        R"("last_report":"2001-09-09T01:46:40.000Z","reported_since_start":false,"pon_port":"1"}]})");
}

TEST(ListJson, OfNothingIsAnEmptyArray) {
    EXPECT_EQ(printJson(toJson(std::vector<Card>{})), R"({"cards":[]})");
    EXPECT_EQ(printJson(toJson(std::vector<Onu>{})), R"({"onus":[]})");
}

}  // namespace

}  // namespace ponmgr::dbman
