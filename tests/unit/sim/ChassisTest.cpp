#include "ChassisFixture.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;

class ChassisTest : public ChassisFixture {
protected:
    void receive(const std::string& hex) { chassis->receive(card(), kManager, bytesOf(hex)); }
};

TEST_F(ChassisTest, AnswersTheLatencyAfterTheRequestArrived) {
    settings.latency = 2ms;
    build();
    receive("0008 0001 0000");
    advance(1999us);
    EXPECT_TRUE(sent.empty());
    advance(1us);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].hex,
              "0008"
              "0001"
              "0002"
              "0000");
    EXPECT_EQ(sent[0].to, kManager);
}

TEST_F(ChassisTest, AnswersAtOnceWithoutLatency) {
    settings.latency = 0ms;
    build();
    receive("0008 0001 0000");
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(ChassisTest, AnswersEachRequestAtItsOwnTimeInTheirOrder) {
    receive("0008 0001 0000");
    advance(1ms);
    receive("0008 0002 0000");
    receive("0008 0003 0000");
    advance(1ms);
    ASSERT_EQ(sent.size(), 1U);
    advance(1ms);
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[1].hex.substr(4, 4), "0002");
    EXPECT_EQ(sent[2].hex.substr(4, 4), "0003");
}

TEST_F(ChassisTest, AnswersWithinTheJitterInTheirOrder) {
    settings.latency = 2ms;
    settings.jitter = 8ms;
    build();
    for (const std::string ctag : {"0001", "0002", "0003", "0004", "0005"}) {
        receive("0008" + ctag + "0000");
    }
    advance(1999us);
    EXPECT_TRUE(sent.empty());
    advance(8001us);
    ASSERT_EQ(sent.size(), 5U);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(sent[i].hex.substr(4, 4), "000" + std::to_string(i + 1));
    }
}

TEST_F(ChassisTest, SaysWhyItDropsADatagram) {
    EXPECT_EQ(chassis->receive(card(), kManager, bytesOf("0007 0001 0000")), "");
    EXPECT_EQ(chassis->receive(card(), kManager, bytesOf("0007")), "shorter than a header");
    EXPECT_EQ(chassis->receive(card(), kManager, bytesOf("8000 0001 0000")), "not a request");
    card().muted = true;
    EXPECT_EQ(chassis->receive(card(), kManager, bytesOf("0007 0001 0000")), "the card is muted");
}

TEST_F(ChassisTest, DropsDatagramsWithoutAWholeHeaderAndCountsThem) {
    receive("");
    receive("0007000100");
    advance(settings.latency);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(card().counters.tooShort, 2U);
    EXPECT_EQ(card().counters.requests, 0U);
    EXPECT_EQ(card().lastPeer, std::nullopt);
}

TEST_F(ChassisTest, DropsEventsAndWhatCardsSend) {
    receive("8000 0001 0000");
    chassis->receive(card(), card(2).address, bytesOf("0007 0001 0000"));
    advance(settings.latency);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(card().counters.notRequests, 2U);
}

TEST_F(ChassisTest, KeepsAMutedCardSilentAndUnchanged) {
    card().muted = true;
    EXPECT_EQ(ask(9), "");
    EXPECT_TRUE(card().configuration.enabled);
    EXPECT_EQ(card().counters.requests, 1U);
    card().muted = false;
    EXPECT_EQ(resultOf(9), 0);
}

TEST_F(ChassisTest, CountsOnlyTheAnswersThatWereSent) {
    EXPECT_EQ(resultOf(7), 0);
    transmitSucceeds = false;
    EXPECT_EQ(resultOf(7), 0);
    EXPECT_EQ(card().counters.requests, 2U);
    EXPECT_EQ(card().counters.answers, 1U);
}

TEST_F(ChassisTest, HasTheCardsOfItsSlotsAtBasePlusSlot) {
    settings.slots = {3, 8};
    settings.base = 0x7F000200;
    settings.port = 1234;
    build();
    EXPECT_EQ(chassis->cards().size(), 2U);
    EXPECT_EQ(chassis->findCard(1), nullptr);
    EXPECT_EQ(toText(card(8).address), "127.0.2.8:1234");
    EXPECT_EQ(toText(card(8).identity.mac), "00:0d:b6:00:00:08");
}

TEST_F(ChassisTest, StartsConfiguredCardsInService) {
    settings.configured = true;
    build();
    EXPECT_TRUE(card().isInService());
    EXPECT_EQ(ask(381),
              "017d"
              "0001"
              "0006"
              "0000"
              "0402"
              "0002");
    EXPECT_EQ(ask(301),
              "012d"
              "0001"
              "0004"
              "0000"
              "00"
              "00");
}

TEST_F(ChassisTest, SaysWhatKeepsACardOutOfService) {
    using testing::ElementsAre;
    EXPECT_THAT(card().whyNotInService(), ElementsAre("NVS is on", "not marked as configured"));
    card().configuration.enabled = false;
    EXPECT_THAT(card().whyNotInService(),
                ElementsAre("NVS is on", "not marked as configured", "OLT is disabled"));
    chassis->reset(card());
    EXPECT_THAT(card().whyNotInService(), ElementsAre("resetting"));
}

}  // namespace
}  // namespace ponmgr::sim
