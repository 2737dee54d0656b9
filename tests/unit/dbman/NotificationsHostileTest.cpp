#include "NotificationsFixture.h"

namespace ponmgr::dbman {

namespace {

class HostileNotifications : public test::NotificationsFixture {};

struct Malformed {
    const char* uri;
    const char* data;
};

void PrintTo(const Malformed& notification, std::ostream* stream) {
    *stream << notification.uri << " " << notification.data;
}

class MalformedNotification : public test::NotificationsFixture,
                              public testing::WithParamInterface<Malformed> {};

TEST_P(MalformedNotification, IsCountedAndChangesNothing) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:01","slot_id":"1","online_status":"1"})");
    handle(GetParam().uri, GetParam().data);
    EXPECT_EQ(counted("malformed"), 1U);
    EXPECT_THAT(shown(), testing::HasSubstr("malformed message ("));
    EXPECT_EQ(inventory.cards().size(), 2U);
    EXPECT_EQ(inventory.cards().at(1).state, State::unknown);
    EXPECT_EQ(inventory.onus(std::nullopt).size(), 1U);
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:01")->state, State::online);
}

INSTANTIATE_TEST_SUITE_P(
    Data, MalformedNotification,
    testing::Values(Malformed{"/olt/new", "{}"}, Malformed{"/olt/new", R"({"slot_id":3})"},
                    Malformed{"/olt/new", R"({"slot_id":"9"})"},
                    Malformed{"/olt/new", R"({"slot_id":null})"},
                    Malformed{"/olt/new", R"({"slot_id":["3"]})"}, Malformed{"/onu/new", "{}"},
                    Malformed{"/onu/new", R"({"mac_address":17,"slot_id":"1"})"},
                    Malformed{"/onu/new", R"({"mac_address":"../../etc","slot_id":"1"})"},
                    Malformed{"/onu/new", R"({"mac_address":"00:11:22:33:44:02","slot_id":"0"})"},
                    Malformed{"/onu/new", R"({"mac_address":"00:11:22:33:44:02","slot_id":1})"},
                    Malformed{"/onu/set/all/offline", R"({"slot_id":""})"},
                    Malformed{"/onu/set/all/offline", R"({"slot_id":1})"},
                    Malformed{"/onu/set/all/offline", R"({"slot_id":"12"})"},
                    Malformed{"/olt/alarm/new", "{}"},
                    Malformed{"/olt/alarm/new", R"({"alarm_list":{}})"},
                    Malformed{"/olt/alarm/new", R"({"alarm_list":["x"]})"}));

TEST_F(HostileNotifications, ValuesOfOtherTypesAreLeftOut) {
    handle("/olt/new", R"({"slot_id":"3","mac_address":{"a":1},"app_version":[],)"
                       R"("online_status":true,"module_olt_table":"none"})");
    const auto card = inventory.cards().at(1);
    EXPECT_EQ(card.state, State::unknown);
    EXPECT_TRUE(card.record.empty());
    EXPECT_EQ(shown(), line("/olt/new slot 3 state not said mac - app -"));
}

TEST_F(HostileNotifications, DeepNestingIsRefused) {
    handle("/olt/new", std::string(200'000, '[') + std::string(200'000, ']'));
    EXPECT_EQ(counted("malformed"), 1U);
}

TEST_F(HostileNotifications, AHugeTextIsShownShortenedAndKeptInPart) {
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"3","alarm_message":")" +
                           std::string(500'000, 'x') + "\"}");
    EXPECT_LT(shown().size(), 200U);
    const auto onu = inventory.findOnu("00:11:22:33:44:55");
    EXPECT_EQ(valueOf(onu->record, "alarm_message").size(), 4096U);
}

TEST_F(HostileNotifications, AHugeRecordIsKeptInPart) {
    std::string data = R"({"mac_address":"00:11:22:33:44:55")";
    for (int key = 0; key < 1000; ++key) {
        data += ",\"k" + std::to_string(key) + "\":\"v\"";
    }
    handle("/onu/new", data + "}");
    EXPECT_EQ(inventory.findOnu("00:11:22:33:44:55")->record.size(), 64U);
}

TEST_F(HostileNotifications, OfManyAlarmsOnlySomeAreShown) {
    std::string list = "{}";
    for (int row = 1; row < 1000; ++row) {
        list += ",{}";
    }
    handle("/olt/alarm/new", R"({"alarm_list":[)" + list + "]}");
    const auto text = shown();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 258);
    EXPECT_THAT(text, testing::HasSubstr("/olt/alarm/new and 744 more alarms\n"));
    EXPECT_THAT(text, testing::HasSubstr("/olt/alarm/new 1000 of them changed no alarm state\n"));
}

TEST_F(HostileNotifications, EscapeSequencesDoNotReachTheTerminal) {
    handle("/olt/new", R"({"slot_id":"3","online_status":"1","mac_address":"\u001b[2J\nfake"})");
    EXPECT_EQ(shown(), line("/olt/new slot 3 on-line mac ?[2J?fake app -"));
}

TEST_F(HostileNotifications, BytesThatAreNotUtf8AreRefusedAndShownAsQuestionMarks) {
    handle("/olt/new", "{\"slot_id\":\"\xff\xfe\"}");
    EXPECT_EQ(counted("malformed"), 1U);
    EXPECT_THAT(shown(), testing::HasSubstr(R"({"slot_id":"??"})"));
}

TEST_F(HostileNotifications, AnEmptyMessageIsMalformed) {
    notifications.handle("");
    EXPECT_EQ(shown(), line("malformed message (not JSON): "));
}

TEST_F(HostileNotifications, OneOnuTooManyIsMalformed) {
    for (std::size_t number = 0; number < Inventory::kMaximumOnusOfASlot; ++number) {
        inventory.updateOnu(std::to_string(number), 1, {}, time);
    }
    handle("/onu/new", R"({"mac_address":"00:11:22:33:44:55","slot_id":"1"})");
    EXPECT_EQ(counted("malformed"), 1U);
    EXPECT_THAT(shown(), testing::HasSubstr("one ONU more than 512 of a slot"));
}

}  // namespace

}  // namespace ponmgr::dbman
