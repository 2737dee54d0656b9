// Faults that send datagrams of their own, or from sockets of their own.

#include "FaultVerbsFixture.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class FaultSourcesTest : public FaultVerbsFixture {};

TEST_F(FaultSourcesTest, WrongPortOpensThatPortOfEachCardFirst) {
    addFault("wrong-port");
    EXPECT_THAT(opened, ElementsAre("127.0.1.1:14114", "127.0.1.2:14114"));
    askCard();
    EXPECT_EQ(departed.at(0).local, (Endpoint{0x7F000101, 14114}));
}

TEST_F(FaultSourcesTest, WrongPortIsRefusedWhenSomebodyHasThePort) {
    busy = Endpoint{0x7F000102, 15};
    EXPECT_EQ(addFault("wrong-port", R"({"port":15,"card":2})").at("error"),
              "can't send from 127.0.1.2:15: Address already in use");
    EXPECT_TRUE(wire->faults().all().empty());
    EXPECT_TRUE(addFault("wrong-port", R"({"port":15,"card":1})").contains("fault"));
}

TEST_F(FaultSourcesTest, WrongPortIsRefusedWhenItIsTheRightOne) {
    EXPECT_EQ(addFault("wrong-port", R"({"port":14113})").at("error"),
              "--port: 14113 is the cards' own; allowed: any other");
    EXPECT_TRUE(wire->faults().all().empty());
}

TEST_F(FaultSourcesTest, WrongPortIsRefusedWithoutAnySocketLeftOpen) {
    busy = Endpoint{0x7F000102, 14114};
    EXPECT_TRUE(addFault("wrong-port").contains("error"));
    EXPECT_THAT(opened, ElementsAre("127.0.1.1:14114"));
    EXPECT_EQ(openNow, 0);
    for (std::size_t i = 0; i < FaultTable::kMostFaults; ++i) {
        addFault("drop");
    }
    EXPECT_TRUE(addFault("wrong-port", R"({"card":1})").contains("error"));
    EXPECT_EQ(openNow, 0);
}

TEST_F(FaultSourcesTest, SocketsOfAFaultAreClosedWhenItIsRemoved) {
    addFault("wrong-port");
    addFault("garbage", R"({"card":1,"stranger":true})");
    EXPECT_EQ(openNow, 3);
    request(R"({"verb":"fault","action":"remove","fault":1})");
    EXPECT_EQ(openNow, 1);
    request(R"({"verb":"fault","action":"remove","fault":"all"})");
    EXPECT_EQ(openNow, 0);
}

TEST_F(FaultSourcesTest, EventBurstRaisesAndClearsAnAlarmByTurns) {
    askCard();
    takeDeparted();
    addFault("event-burst", R"({"card":1,"rate":100,"count":3,"alarm":"Power Fail"})");
    advance(0ms);
    // OLT port, the card's MAC, PON port 0, alarm 41h
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100000001"
                                            "05000db6000001000041010100"));
    advance(10ms);
    advance(10ms);
    advance(10ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100000002"
                                            "05000db6000001000041000100",
                                            "801a0000001100000003"
                                            "05000db6000001000041010100"));
    EXPECT_EQ(journal(R"(,"fault":1)").size(), 3U);
}

TEST_F(FaultSourcesTest, EventBurstWaitsForAManagerAndTakesNoNumbersMeanwhile) {
    addFault("event-burst", R"({"card":1,"rate":100})");
    advance(0ms);
    advance(10ms);
    EXPECT_THAT(takeDeparted(), IsEmpty());
    EXPECT_EQ(wire->faults().find(1)->passedBy(), 2U);
    askCard();
    takeDeparted();
    advance(10ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100000001"
                                            "05000db6000001000011010100"));
}

TEST_F(FaultSourcesTest, EventBurstAtAnEmptySlotTakesNoNumbers) {
    askCard();
    chassis->pull(card());
    takeDeparted();
    addFault("event-burst", R"({"card":1,"rate":100})");
    advance(0ms);
    advance(10ms);
    EXPECT_EQ(wire->faults().find(1)->passedBy(), 2U);
    EXPECT_EQ(card().lastSequence, 0U);
    EXPECT_THAT(takeDeparted(), IsEmpty());
}

TEST_F(FaultSourcesTest, GarbageDoesNotLeaveAnEmptySlotUnlessItIsAStrangers) {
    askCard();
    chassis->pull(card());
    takeDeparted();
    addFault("garbage", R"({"card":1,"rate":100})");
    advance(0ms);
    EXPECT_THAT(takeDeparted(), IsEmpty());
    EXPECT_EQ(wire->faults().find(1)->passedBy(), 1U);
    addFault("garbage", R"({"card":1,"count":1,"stranger":true})");
    advance(0ms);
    EXPECT_EQ(takeDeparted().size(), 1U);
}

TEST_F(FaultSourcesTest, EventBurstIsAboutTheOnuThatIsNamed) {
    settings.onusPerPort = 1;
    settings.configured = true;
    buildWire(1);
    askCard();
    takeDeparted();
    addFault("event-burst", R"({"target":"1/1/0","count":1})");
    advance(0ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000000f00000001"
                                            "03000db601010011010100"));
    EXPECT_EQ(addFault("event-burst", R"({"target":"1/1/9","count":1})").at("error"),
              "no ONU 1/1/9; slot 1 has 1 at a port");
    EXPECT_EQ(wire->faults().all().size(), 1U);
}

TEST_F(FaultSourcesTest, EventBurstIsHitByOtherFaults) {
    askCard();
    takeDeparted();
    addFault("truncate", R"({"to":7,"request":"Report Alarm"})");
    addFault("event-burst", R"({"card":1,"count":1})");
    advance(0ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100"));
    EXPECT_EQ(journal().back().at("faults").dump(), "[1,2]");
}

TEST_F(FaultSourcesTest, SourcesKeepTheirRateAndEndInTime) {
    askCard();
    takeDeparted();
    addFault("garbage", R"({"card":1,"rate":50,"for":"1s","start":"100ms"})");
    for (int i = 0; i < 300; ++i) {
        advance(10ms);
    }
    EXPECT_EQ(takeDeparted().size(), 50U);
    EXPECT_EQ(wire->faults().find(1)->hits(), 50U);
}

TEST_F(FaultSourcesTest, SourcesEndWhenTheyAreRemoved) {
    askCard();
    addFault("garbage", R"({"card":1})");
    request(R"({"verb":"fault","action":"remove","fault":1})");
    takeDeparted();
    advance(10s);
    EXPECT_THAT(takeDeparted(), IsEmpty());
    EXPECT_EQ(timers.size(), 0U);
}

TEST_F(FaultSourcesTest, GarbageIsTheSameWithTheSameSeed) {
    const auto garbage = [this](std::uint32_t seed) {
        buildWire(seed);
        askCard();
        takeDeparted();
        addFault("garbage", R"({"card":1,"count":1,"size":32})");
        advance(0ms);
        return takeDeparted().at(0);
    };
    const auto first = garbage(1);
    EXPECT_GE(first.size(), 2U);
    EXPECT_LE(first.size(), 64U);
    EXPECT_EQ(garbage(1), first);
    EXPECT_NE(garbage(2), first);
}

TEST_F(FaultSourcesTest, GarbageOfAStrangerComesFromAnAddressThatNoCardHas) {
    askCard();
    departed.clear();
    addFault("garbage", R"({"card":1,"count":1,"stranger":true})");
    EXPECT_THAT(opened, ElementsAre("127.0.1.0:14113"));
    advance(0ms);
    ASSERT_EQ(departed.size(), 1U);
    EXPECT_EQ(departed.at(0).local, (Endpoint{0x7F000100, 14113}));
}

}  // namespace
}  // namespace ponmgr::sim
