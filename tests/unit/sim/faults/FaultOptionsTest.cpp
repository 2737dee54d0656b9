#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

#include "sim/OptionValues.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

std::string errorOf(const std::string& kind, const FaultTexts& texts) {
    try {
        parseFault(kind, texts);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

TEST(FaultOptions, HaveTheirDefaults) {
    const auto fault = parseFault("drop", {});
    EXPECT_STREQ(fault.kind->name, "drop");
    EXPECT_FALSE(fault.slot || fault.messageId || fault.duration || fault.count);
    EXPECT_FALSE(fault.toCard);
    EXPECT_TRUE(fault.fromCard);
    EXPECT_EQ(fault.start, 0s);
    EXPECT_EQ(fault.probability, 1);
}

TEST(FaultOptions, HaveAFaultOfRequestsHitThoseThatComeIn) {
    for (const FaultTexts& texts : {FaultTexts{}, FaultTexts{{"direction", "in"}}}) {
        const auto fault = parseFault("pretend", texts);
        EXPECT_TRUE(fault.toCard);
        EXPECT_FALSE(fault.fromCard);
    }
}

TEST(FaultOptions, OfAllKindsAreUnderstood) {
    const auto fault = parseFault("drop", {{"card", "3"},
                                           {"request", "get olt information"},
                                           {"direction", "all"},
                                           {"start", "2s"},
                                           {"for", "10s"},
                                           {"count", "5"},
                                           {"probability", "0.25"}});
    EXPECT_EQ(fault.slot, 3);
    EXPECT_EQ(fault.messageId, 7);
    EXPECT_TRUE(fault.toCard && fault.fromCard);
    EXPECT_EQ(fault.start, 2s);
    EXPECT_EQ(fault.duration, 10s);
    EXPECT_EQ(fault.count, 5U);
    EXPECT_EQ(fault.probability, 0.25);
}

TEST(FaultOptions, TakeAllForEveryCardAndMessage) {
    const auto fault = parseFault("drop", {{"card", "all"}, {"request", "all"}});
    EXPECT_FALSE(fault.slot || fault.messageId);
}

TEST(FaultOptions, TakeAMessageByNumberAndName) {
    const auto idOf = [](const std::string& text) {
        return parseFault("drop", {{"request", text}}).messageId;
    };
    EXPECT_EQ(idOf("5"), 5);
    EXPECT_EQ(idOf("0x0005"), 5);
    EXPECT_EQ(idOf("0x801a"), 0x801A);
    EXPECT_EQ(idOf("65535"), 65535);
    EXPECT_EQ(idOf("Report Alarm"), 0x801A);
    EXPECT_EQ(idOf("RESET ONU"), 83);
}

TEST(FaultOptions, OfSingleKindsAreUnderstood) {
    EXPECT_EQ(parseFault("delay", {{"time", "7ms"}}).time, 7ms);
    EXPECT_EQ(parseFault("late", {{"time", "20s"}}).time, 20s);
    EXPECT_EQ(parseFault("duplicate", {{"copies", "100"}}).copies, 100U);
    EXPECT_EQ(parseFault("reorder", {{"limit", "1s"}}).limit, 1s);
    EXPECT_EQ(parseFault("truncate", {{"bytes", "1"}}).bytes, 1U);
    EXPECT_EQ(parseFault("truncate", {{"to", "0"}}).to, 0U);
    EXPECT_EQ(parseFault("flip-bit", {{"bit", "0"}}).bit, 0U);
    EXPECT_EQ(parseFault("wrong-id", {{"id", "0x0009"}}).id, 9);
    EXPECT_EQ(parseFault("wrong-length", {{"length", "0xffff"}}).length, 65535);
    EXPECT_EQ(parseFault("result", {{"code", "3"}}).code, 3);
    EXPECT_EQ(parseFault("event-burst", {{"rate", "10000"}}).rate, 10000U);
    EXPECT_EQ(parseFault("event-burst", {{"alarm", "Power Fail"}}).alarm, 0x41);
    EXPECT_EQ(parseFault("wrong-port", {{"port", "9"}}).port, 9);
    EXPECT_EQ(parseFault("garbage", {{"size", "1500"}}).size, 1500U);
    EXPECT_TRUE(parseFault("garbage", {{"stranger", "on"}}).stranger);
}

TEST(FaultOptions, TakeTheCardFromTheTargetOfAnAlarm) {
    const auto fault = parseFault("event-burst", {{"target", "3/0/7"}});
    EXPECT_EQ(fault.slot, 3);
    EXPECT_EQ(fault.target->tag, EntityTag::onuLink);
    EXPECT_EQ(parseFault("event-burst", {{"target", "3/1"}, {"card", "3"}}).slot, 3);
}

struct Mistake {
    std::string name;
    std::string kind;
    FaultTexts texts;
    std::string error;
};

void PrintTo(const Mistake& mistake, std::ostream* output) {
    *output << mistake.name;
}

const Mistake kMistakes[] = {
    {"UnknownKind",
     "fly",
     {},
     "unknown kind of fault 'fly'; there are: drop, delay, duplicate, reorder, truncate, flip-bit, "
     "wrong-ctag, wrong-id, wrong-length, result, late, mute, event-burst, wrong-port, garbage, "
     "pretend"},
    {"OptionOfAnotherKind",
     "drop",
     {{"bit", "3"}},
     "fault drop takes no --bit; its options: --card, --request, --direction, --start, --for, "
     "--count, --probability"},
    {"MessageForASource",
     "garbage",
     {{"request", "7"}},
     "fault garbage takes no --request; its options: --card, --start, --for, --count, "
     "--probability, --rate, --size, --stranger"},
    {"DirectionForASource",
     "event-burst",
     {{"direction", "out"}},
     "fault event-burst takes no --direction; its options: --card, --start, --for, --count, "
     "--probability, --rate, --alarm, --target"},
    {"NoDelay", "delay", {}, "fault delay needs --time TIME"},
    {"DelayOfNothing",
     "delay",
     {{"time", "0"}},
     "--time: '0' can't be used with delay; allowed: more than 0"},
    {"PretendToAsk",
     "pretend",
     {{"request", "Get All Paths"}},
     "--request: 'Get All Paths' can't be used with pretend; allowed: requests to set or do "
     "something, such as Set Path"},
    {"PretendUnknown", "pretend", {{"request", "4095"}}, "'4095' can't be used with pretend"},
    {"MuteEvents",
     "mute",
     {{"request", "Report Alarm"}},
     "--request: 'Report Alarm' can't be used with mute; allowed: requests, whose answers it hits"},
    {"EventsToTheCard",
     "drop",
     {{"request", "0x8000"}, {"direction", "in"}},
     "--request: '0x8000' can't be used with drop; allowed: requests, or --direction out: events "
     "only go out"},
    {"NoTimeAtAll", "drop", {{"for", "0"}}, "--for: '0' can't be used; allowed: more than 0"},
    {"NoCut", "truncate", {}, "fault truncate needs either --bytes N or --to N"},
    {"TwoCuts",
     "truncate",
     {{"bytes", "1"}, {"to", "1"}},
     "fault truncate needs either --bytes N or --to N"},
    {"NoCode", "result", {}, "fault result needs --code N"},
    {"OtherCard",
     "event-burst",
     {{"target", "3/0/7"}, {"card", "4"}},
     "--target: slot 3 can't be used with --card 4"},
    {"MuteRequests",
     "mute",
     {{"direction", "in"}},
     "--direction: 'in' can't be used with mute; allowed: out"},
    {"DirectionOfSettings",
     "pretend",
     {{"direction", "out"}},
     "--direction: 'out' can't be used with pretend; allowed: in"},
    {"LateRequests",
     "late",
     {{"direction", "all"}},
     "--direction: 'all' can't be used with late; allowed: out"},
    {"Sideways",
     "drop",
     {{"direction", "sideways"}},
     "unknown value of --direction 'sideways'; there are: in, out, all"},
    {"CardNine", "drop", {{"card", "9"}}, "--card: '9' can't be used; allowed: a slot from 1 to 8"},
    {"UnknownMessage",
     "drop",
     {{"request", "Fly"}},
     "--request: 'Fly' can't be used; allowed: a number up to 65535, such as 7 or 0x0007, and Set "
     "Default OAM Rate, Reset OLT, "},
    {"MessageTooHigh", "drop", {{"request", "65536"}}, "ONU Link Moved Between PON Ports"},
    {"StartWithoutUnit", "drop", {{"start", "2"}}, "--start: '2' can't be used; allowed: a whole"},
    {"DurationTooLong", "drop", {{"for", "86401s"}}, "up to 86400s"},
    {"CountZero",
     "drop",
     {{"count", "0"}},
     "--count: '0' can't be used; allowed: a whole number from 1 to 1000000000"},
    {"CountTooHigh", "drop", {{"count", "1000000001"}}, "from 1 to 1000000000"},
    {"ProbabilityZero",
     "drop",
     {{"probability", "0"}},
     "--probability: '0' can't be used; allowed: more than 0 up to 1, such as 0.3"},
    {"ProbabilityTooHigh", "drop", {{"probability", "1.1"}}, "more than 0 up to 1"},
    {"ProbabilityNoNumber", "drop", {{"probability", "nan"}}, "more than 0 up to 1"},
    {"ProbabilityPercent", "drop", {{"probability", "30%"}}, "more than 0 up to 1"},
    {"TimeTooLong", "delay", {{"time", "3601s"}}, "up to 3600s"},
    {"TooManyCopies", "duplicate", {{"copies", "101"}}, "from 1 to 100"},
    {"LimitWord", "reorder", {{"limit", "soon"}}, "--limit: 'soon' can't be used"},
    {"CutNothing", "truncate", {{"bytes", "0"}}, "from 1 to 1500"},
    {"CutTooLong", "truncate", {{"to", "1501"}}, "from 0 to 1500"},
    {"BitTooHigh", "flip-bit", {{"bit", "12000"}}, "from 0 to 11999"},
    {"UnknownId", "wrong-id", {{"id", "x"}}, "--id: 'x' can't be used"},
    {"LengthTooHigh",
     "wrong-length",
     {{"length", "0x10000"}},
     "--length: '0x10000' can't be used; allowed: a number from 0 to 65535, such as 9 or 0x0009"},
    {"CodeZero", "result", {{"code", "0"}}, "--code: '0' can't be used; allowed: a number from 1"},
    {"RateTooHigh", "garbage", {{"rate", "10001"}}, "from 1 to 10000"},
    {"UnknownAlarm", "event-burst", {{"alarm", "Rain"}}, "Loss of Signal"},
    {"TargetWord", "event-burst", {{"target", "roof"}}, "--target: 'roof' can't be used"},
    {"PortZero", "wrong-port", {{"port", "0"}}, "a port from 1 to 65535"},
    {"SizeTooLarge", "garbage", {{"size", "1501"}}, "from 1 to 1500"},
    {"StrangerMaybe", "garbage", {{"stranger", "maybe"}}, "allowed: on, off"},
};

class MistakenFaultOptions : public testing::TestWithParam<Mistake> {};

TEST_P(MistakenFaultOptions, AreRefusedWithWhatIsAllowed) {
    const auto& mistake = GetParam();
    EXPECT_THAT(errorOf(mistake.kind, mistake.texts), HasSubstr(mistake.error));
}

INSTANTIATE_TEST_SUITE_P(All, MistakenFaultOptions, testing::ValuesIn(kMistakes),
                         [](const auto& mistake) { return mistake.param.name; });

}  // namespace
}  // namespace ponmgr::sim
