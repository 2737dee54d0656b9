#include "FaultVerbsFixture.h"

namespace ponmgr::sim {
namespace {

using testing::HasSubstr;
using namespace std::chrono_literals;

class FaultVerbsTest : public FaultVerbsFixture {};

TEST_F(FaultVerbsTest, AddRepliesWithTheFaultAsItStands) {
    const auto reply = addFault("drop", R"({"card":1,"request":"0x0007","probability":0.5})");
    EXPECT_EQ(reply.dump(),
              R"({"fault":1,"kind":"drop","card":1,"request":"Get OLT Information",)"
              R"("direction":"out","options":{"card":"1","probability":"0.5","request":"0x0007"},)"
              R"("state":"active","ends_ns":null,"hits":0,"passed_by":0})");
}

TEST_F(FaultVerbsTest, AddTakesAProbabilityThatJsonWritesWithAnExponent) {
    EXPECT_TRUE(addFault("drop", R"({"probability":0.000001})").contains("fault"));
}

TEST_F(FaultVerbsTest, ListShowsStatesAndCounters) {
    addFault("drop", R"({"count":1,"direction":"all"})");
    addFault("delay", R"({"time":"1ms","start":"5s","direction":"in"})");
    addFault("wrong-ctag", R"({"card":2})");
    askCard(1, "0001");
    askCard(1, "0002");
    const auto rows = request(R"({"verb":"fault","action":"list"})").at("faults");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0].at("state"), "ended");
    EXPECT_EQ(rows[0].at("hits"), 1);
    EXPECT_EQ(rows[0].at("direction"), "all");
    EXPECT_EQ(rows[1].at("state"), "waiting");
    EXPECT_EQ(rows[1].at("direction"), "in");
    EXPECT_EQ(rows[2].at("state"), "active");
    EXPECT_EQ(rows[2].at("hits"), 0);
}

TEST_F(FaultVerbsTest, TheEndOfAFaultIsToldOnTheClockOfTheJournal) {
    advance(2s);
    const auto added = addFault("drop", R"({"start":"500ms","for":"3s","direction":"in"})");
    EXPECT_EQ(added.at("ends_ns"), 5'500'000'000);
    advance(3500ms - settings.latency);
    askCard(1, "0001");
    askCard(1, "0002");
    const auto entries = journal();
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].at("dropped"), "dropped by a fault");
    EXPECT_LT(entries[0].at("time_ns"), added.at("ends_ns"));
    EXPECT_TRUE(entries[1].at("dropped").is_null());
    EXPECT_EQ(entries[1].at("time_ns"), added.at("ends_ns"));
    const auto rows = request(R"({"verb":"fault","action":"list"})").at("faults");
    EXPECT_EQ(rows[0].at("state"), "ended");
    EXPECT_EQ(rows[0].at("ends_ns"), added.at("ends_ns"));
}

TEST_F(FaultVerbsTest, RemoveEndsOneFaultOrAll) {
    addFault("drop");
    addFault("wrong-ctag");
    EXPECT_EQ(request(R"({"verb":"fault","action":"remove","fault":1})").dump(),
              R"({"removed":[1]})");
    askCard();
    EXPECT_EQ(takeDeparted().at(0).substr(0, 8), "00070002");
    EXPECT_EQ(request(R"({"verb":"fault","action":"remove","fault":"all"})").dump(),
              R"({"removed":[2]})");
    askCard();
    EXPECT_EQ(takeDeparted().at(0).substr(0, 8), "00070001");
}

TEST_F(FaultVerbsTest, KindsSaysWhatThereIsWithItsOptions) {
    const auto rows = request(R"({"verb":"fault","action":"kinds"})").at("kinds");
    EXPECT_EQ(rows.size(), 16U);
    EXPECT_EQ(rows[1].dump(),
              R"({"kind":"delay","effect":"goes on after --time","options":["card",)"
              R"("request","direction","start","for","count","probability",)"
              R"("time"]})");
}

TEST_F(FaultVerbsTest, MistakesAreAnsweredWithWhatIsAllowed) {
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"fly"})"),
              "unknown action 'fly'; there are: add, list, remove, kinds");
    EXPECT_THAT(errorOf(R"({"verb":"fault","action":"add","kind":"fly"})"), HasSubstr("garbage"));
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"add","kind":"drop","options":[1]})"),
              "\"options\" must be an object");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"add","kind":"drop","options":{"card":[]}})"),
              "\"card\" must be a string, a number, true or false");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"add","kind":"drop","options":{"card":7}})"),
              "no card in slot 7; there are: 1, 2");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"remove","fault":3})"),
              "no fault 3; there are: none");
    addFault("drop");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"remove","fault":3})"),
              "no fault 3; there are: 1");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"remove"})"), "the request has no \"fault\"");
}

TEST_F(FaultVerbsTest, AThousandFaultsAreTheMost) {
    for (std::size_t i = 0; i < FaultTable::kMostFaults; ++i) {
        ASSERT_TRUE(addFault("drop").contains("fault"));
    }
    EXPECT_EQ(addFault("drop").at("error"),
              "there are 1000 faults already, those that have ended included; remove some");
}

TEST_F(FaultVerbsTest, WithoutAWireThereAreNoFaults) {
    ControlVerbs bare(*chassis, timers);
    const auto channel = std::make_shared<LastReply>();
    bare.handle(R"({"verb":"journal"})", channel);
    EXPECT_EQ(channel->last.at("error"), "this simulator has no faults and no journal");
}

}  // namespace
}  // namespace ponmgr::sim
