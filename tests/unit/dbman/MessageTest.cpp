#include "dbman/Errors.h"
#include "dbman/Message.h"

namespace ponmgr::dbman {

namespace {

TEST(Message, IsWrittenAsActionUriAndDataWithoutWhiteSpace) {
    EXPECT_EQ(
        serializeMessage({"/olt/ip", {{"slot_id", "3"}, {"ip_address", "127.0.1.3"}}}),
        R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"3","ip_address":"127.0.1.3"}})");
}

TEST(Message, WithoutValuesHasAnEmptyObjectAsData) {
    EXPECT_EQ(serializeMessage({"/slot/reset", {}}),
              R"({"action":"set","uri":"/slot/reset","data":{}})");
}

TEST(Message, EscapesWhatWouldEndATextEarly) {
    EXPECT_EQ(serializeMessage({"/x", {{"a", "\"\\\n"}}}),
              R"({"action":"set","uri":"/x","data":{"a":"\"\\\n"}})");
}

TEST(Message, ReplacesBytesThatAreNotUtf8) {
    EXPECT_EQ(serializeMessage({"/x", {{"a", "b\xff"}}}),
              "{\"action\":\"set\",\"uri\":\"/x\",\"data\":{\"a\":\"b\xef\xbf\xbd\"}}");
}

TEST(Message, IsDescribedByItsUriAndValues) {
    EXPECT_EQ(describeMessage({"/olt/vlan", {{"slot_id", "3"}, {"vlan_id", ""}}}),
              "/olt/vlan slot_id=3 vlan_id=");
}

TEST(ParseNotification, ReadsUriAndData) {
    const auto read = parseNotification(R"({"action":"set","uri":"/olt/new","data":{"a":"1"}})");
    EXPECT_EQ(read.uri, "/olt/new");
    EXPECT_EQ(printJson(read.data), R"({"a":"1"})");
}

TEST(ParseNotification, IgnoresMembersThatItDoesNotKnow) {
    const auto read = parseNotification(R"( {"more":[1],"data":{},"uri":"/x","action":"set"} )");
    EXPECT_EQ(read.uri, "/x");
}

struct Refusal {
    const char* text;
    const char* why;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.text;
}

class ParseNotificationRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(ParseNotificationRefuses, SayingWhatIsWrong) {
    try {
        parseNotification(GetParam().text);
        FAIL() << "accepted " << GetParam().text;
    } catch (const MalformedMessage& error) {
        EXPECT_STREQ(error.what(), GetParam().why);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Envelopes, ParseNotificationRefuses,
    testing::Values(Refusal{"", "not JSON"}, Refusal{"{", "not JSON"}, Refusal{"{} x", "not JSON"},
                    Refusal{"[]", "not a JSON object"}, Refusal{"null", "not a JSON object"},
                    Refusal{"{}", "no text \"action\""},
                    Refusal{R"({"action":1,"uri":"/x","data":{}})", "no text \"action\""},
                    Refusal{R"({"action":"set","data":{}})", "no text \"uri\""},
                    Refusal{R"({"action":"set","uri":["/x"],"data":{}})", "no text \"uri\""},
                    Refusal{R"({"action":"get","uri":"/x","data":{}})",
                            "action \"get\" instead of \"set\""},
                    Refusal{R"({"action":"set","uri":"/x"})", "no object \"data\""},
                    Refusal{R"({"action":"set","uri":"/x","data":[]})", "no object \"data\""},
                    Refusal{R"({"action":"set","uri":"/x","data":"{}"})", "no object \"data\""}));

}  // namespace

}  // namespace ponmgr::dbman
