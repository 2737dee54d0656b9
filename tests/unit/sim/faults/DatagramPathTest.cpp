#include <gmock/gmock.h>

#include "DatagramPathFixture.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using DatagramPathTest = DatagramPathFixture;

TEST_F(DatagramPathTest, PassesOnWhatNoFaultConcerns) {
    receive(kRequest);
    send(kAnswer);
    EXPECT_THAT(arrived, ElementsAre(kRequest));
    EXPECT_THAT(departed, ElementsAre(kAnswer));
    EXPECT_EQ(journal.lastNumber(), 2U);
    EXPECT_THAT(newest().faults, IsEmpty());
}

TEST_F(DatagramPathTest, WritesDownWhyACardHasDroppedADatagram) {
    cardDrops = "the card is muted";
    receive(kRequest);
    EXPECT_EQ(newest().dropped, "the card is muted");
}

TEST_F(DatagramPathTest, TellsTheCardWhenTheSystemRefuses) {
    systemSends = false;
    EXPECT_FALSE(send(kAnswer));
    EXPECT_EQ(newest().dropped, "the system refused to send it");
    EXPECT_FALSE(newest().onTheWire);
}

TEST_F(DatagramPathTest, LetsFaultsHitInTheOrderOfTheirIds) {
    add("wrong-ctag");
    add("flip-bit", {{"bit", "31"}});
    EXPECT_THAT(outcomeOf("0007000700020000"), ElementsAre("0007000900020000"));
    add("truncate", {{"to", "3"}});
    const auto& tooLate = add("wrong-ctag");
    EXPECT_THAT(outcomeOf("0007000700020000"), ElementsAre("000700"));
    EXPECT_EQ(tooLate.hits(), 0U);
    EXPECT_EQ(tooLate.passedBy(), 1U);
    EXPECT_THAT(newest().faults, ElementsAre(1, 2, 3));
    EXPECT_EQ(hexText(*newest().cardBytes), "0007000700020000");
}

TEST_F(DatagramPathTest, EndsWithADropWhateverComesBehind) {
    add("delay", {{"time", "1s"}});
    add("drop");
    const auto& behind = add("duplicate");
    send(kAnswer);
    advance(2s);
    EXPECT_THAT(departed, IsEmpty());
    EXPECT_EQ(behind.hits() + behind.passedBy(), 0U);
    EXPECT_THAT(newest().faults, ElementsAre(1, 2));
}

TEST_F(DatagramPathTest, AddsDelaysAndCopiesUp) {
    add("delay", {{"time", "10ms"}});
    add("duplicate");
    add("delay", {{"time", "20ms"}});
    add("duplicate", {{"copies", "3"}});
    send(kAnswer);
    advance(29ms);
    EXPECT_THAT(departed, IsEmpty());
    advance(1ms);
    EXPECT_EQ(departed.size(), 5U);
}

TEST_F(DatagramPathTest, DropsWhatIsDelayedBeyondTheMostThatMayWait) {
    add("delay", {{"time", "10ms"}, {"direction", "all"}});
    for (std::size_t i = 0; i < DatagramPath::kMostWaiting; ++i) {
        send(kAnswer);
    }
    EXPECT_EQ(journal.lastNumber(), 0U);
    send(kAnswer);
    EXPECT_EQ(newest().dropped, "too many wait");
    EXPECT_FALSE(newest().onTheWire);
    EXPECT_EQ(hexText(newest().bytes), kAnswer);
    receive(kRequest);
    EXPECT_EQ(newest().dropped, "too many wait");
    advance(10ms);
    EXPECT_EQ(departed.size(), DatagramPath::kMostWaiting);
    EXPECT_THAT(arrived, IsEmpty());
    EXPECT_THAT(outcomeOf(kAnswer), IsEmpty());
    advance(10ms);
    EXPECT_EQ(departed.size(), 1U);
}

TEST_F(DatagramPathTest, DropsWhatIsDelayedBeyondTheBytesThatMayWait) {
    add("delay", {{"time", "10ms"}});
    const std::size_t size = 60'000;
    const auto fitting = DatagramPath::kMostWaitingBytes / size;
    auto longOne = bytesOf(kAnswer);
    longOne.resize(size);
    for (std::size_t i = 0; i < fitting; ++i) {
        send(longOne);
    }
    EXPECT_EQ(journal.lastNumber(), 0U);
    send(longOne);
    EXPECT_EQ(newest().dropped, "too many wait");
    advance(10ms);
    EXPECT_EQ(departed.size(), fitting);
    departed.clear();
    send(longOne);
    advance(10ms);
    EXPECT_EQ(departed.size(), 1U);
}

TEST_F(DatagramPathTest, CountsCopiesAmongThoseThatWait) {
    add("delay", {{"time", "10ms"}});
    add("duplicate", {{"copies", "99"}});
    for (int i = 0; i < 201; ++i) {
        send(kAnswer);
    }
    EXPECT_EQ(journal.lastNumber(), 1U);
    EXPECT_EQ(newest().dropped, "too many wait");
}

TEST_F(DatagramPathTest, HoldsBackAfterTheDelay) {
    add("reorder", {{"count", "1"}});
    add("delay", {{"time", "10ms"}, {"count", "1"}});
    send("00070001 0002 0000");
    send("00070002 0002 0000");
    advance(10ms);
    EXPECT_THAT(departed, ElementsAre("0007000200020000"));
    send("00070003 0002 0000");
    EXPECT_THAT(departed, ElementsAre("0007000200020000", "0007000300020000", "0007000100020000"));
}

TEST_F(DatagramPathTest, ConcernsTheMessageThatIsNamedAsTheCardSentIt) {
    add("wrong-id", {{"id", "7"}});
    add("drop", {{"request", "7"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("00070007000400000100"));
    EXPECT_THAT(outcomeOf("0007000100020000"), IsEmpty());
}

TEST_F(DatagramPathTest, ConcernsTheCardThatIsNamed) {
    add("drop", {{"card", "4"}});
    send(kAnswer, 3);
    send(kAnswer, 4);
    EXPECT_EQ(departed.size(), 1U);
}

TEST_F(DatagramPathTest, BeginsAndEndsAFaultAtItsTime) {
    const auto& fault = add("drop", {{"start", "2s"}, {"for", "10s"}});
    EXPECT_EQ(fault.state(now), Fault::State::waiting);
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(kAnswer));
    advance(2s);
    EXPECT_EQ(fault.state(now), Fault::State::active);
    EXPECT_THAT(outcomeOf(kAnswer), IsEmpty());
    advance(9999ms);
    EXPECT_THAT(outcomeOf(kAnswer), IsEmpty());
    advance(1ms);
    EXPECT_EQ(fault.state(now), Fault::State::ended);
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(kAnswer));
    EXPECT_EQ(fault.hits(), 2U);
}

TEST_F(DatagramPathTest, EndsAFaultAfterItsCount) {
    const auto& fault = add("drop", {{"count", "2"}});
    send(kAnswer);
    send(kAnswer);
    send(kAnswer);
    EXPECT_EQ(departed.size(), 1U);
    EXPECT_EQ(fault.state(now), Fault::State::ended);
}

TEST_F(DatagramPathTest, EndsAFaultThatIsRemoved) {
    add("drop");
    EXPECT_TRUE(faults.remove(1));
    EXPECT_FALSE(faults.remove(1));
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(kAnswer));
    EXPECT_EQ(add("drop").id(), 2U);
}

TEST_F(DatagramPathTest, HitsAsOftenAsItsProbabilitySays) {
    const auto& fault = add("drop", {{"probability", "0.3"}});
    for (int i = 0; i < 1000; ++i) {
        send(kAnswer);
    }
    EXPECT_GT(fault.hits(), 250U);
    EXPECT_LT(fault.hits(), 350U);
    EXPECT_EQ(fault.hits() + fault.passedBy(), 1000U);
    EXPECT_EQ(departed.size(), fault.passedBy());
}

std::string choicesWith(std::uint32_t seed, const TimerQueue& timers) {
    FaultTable table(seed, timers);
    auto& fault = table.add(parseFault("drop", {{"probability", "0.5"}}));
    std::string choices;
    for (int i = 0; i < 64; ++i) {
        choices += fault.strikes(kSlot) ? 'x' : '.';
    }
    return choices;
}

TEST_F(DatagramPathTest, MakesTheSameChoicesWithTheSameSeed) {
    EXPECT_EQ(choicesWith(1, timers), choicesWith(1, timers));
    EXPECT_NE(choicesWith(1, timers), choicesWith(2, timers));
}

}  // namespace
}  // namespace ponmgr::sim
