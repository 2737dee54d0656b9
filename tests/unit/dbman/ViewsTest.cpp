#include "dbman/Json.h"
#include "dbman/Views.h"

namespace ponmgr::dbman {

namespace {

TEST(ViewCards, ShowsTheColumnsOfACard) {
    const auto answer =
        parseJson(R"({"cards":[{"slot_id":"3","ip_address":"127.0.1.3","state":"on-line",)"
                  R"("mac_address":"00:0d:b6:00:00:03","app_version":"0102","nvs_enabled":"0",)"
                  R"("last_report":"2031-02-03T04:05:06.000Z"}]})");
    EXPECT_EQ(viewCards(answer),
              "slot  address    state    MAC                firmware  NVS  last report\n"
              "3     127.0.1.3  on-line  00:0d:b6:00:00:03  0102      no   "
              "2031-02-03T04:05:06.000Z\n");
}

TEST(ViewOnus, OfNothingIsTheHeaders) {
    EXPECT_EQ(viewOnus(parseJson(R"({"onus":[]})")),
              "MAC  slot  port  state  provisioned  ethernet  power in  power out  alarms  "
              "last report\n");
}

TEST(ViewStatus, ShowsEachCounter) {
    const auto text = viewStatus(parseJson(
        R"({"daemon":"listens","uptime_seconds":5,"notifications":{"/olt/new":8},"unknown":1,"malformed":2,)"
        R"("alarms_displaced":7,"link_errors":3,"commands_sent":4,"commands_failed":6})"));
    EXPECT_EQ(text,
              "what                     count\n"
              "daemon                   listens\n"
              "uptime in seconds        5\n"
              "unknown uris             1\n"
              "malformed messages       2\n"
              "active alarms displaced  7\n"
              "link errors              3\n"
              "commands sent            4\n"
              "commands failed          6\n"
              "/olt/new                 8\n");
}

TEST(ViewSent, IsALineAMessage) {
    EXPECT_EQ(viewSent(OrderedJson::parse(R"({"sent":[{"uri":"/a","data":{"b":"c"}},)"
                                          R"({"uri":"/d"},7,{"data":[]}],"note":"later"})")),
              "sent /a b=c\nsent /d\nsent \nsent \nlater\n");
}

TEST(ViewSent, KeepsTheOrderOfSending) {
    EXPECT_EQ(viewSent(OrderedJson::parse(R"({"sent":[{"uri":"/a","data":{"z":"1","b":"2"}}]})")),
              "sent /a z=1 b=2\n");
}

}  // namespace

}  // namespace ponmgr::dbman
