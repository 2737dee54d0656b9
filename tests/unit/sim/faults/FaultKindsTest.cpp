#include <gmock/gmock.h>

#include "DatagramPathFixture.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using FaultKindsTest = DatagramPathFixture;

TEST_F(FaultKindsTest, DropsWhatTheCardSendsUnlessToldOtherwise) {
    const auto& fault = add("drop");
    EXPECT_TRUE(send(kAnswer));
    receive(kRequest);
    EXPECT_THAT(departed, IsEmpty());
    EXPECT_THAT(arrived, ElementsAre(kRequest));
    EXPECT_EQ(fault.hits(), 1U);
    EXPECT_EQ(journal.find(1)->dropped, "dropped by a fault");
    EXPECT_THAT(journal.find(1)->faults, ElementsAre(1));
    EXPECT_FALSE(journal.find(1)->onTheWire);
}

TEST_F(FaultKindsTest, DropsRequestsOnTheirWayToTheCard) {
    add("drop", {{"direction", "in"}});
    receive(kRequest);
    send(kAnswer);
    EXPECT_THAT(arrived, IsEmpty());
    EXPECT_THAT(departed, ElementsAre(kAnswer));
    EXPECT_EQ(journal.find(1)->dropped, "dropped by a fault");
    EXPECT_TRUE(journal.find(1)->onTheWire);
}

TEST_F(FaultKindsTest, DelaysADatagram) {
    add("delay", {{"time", "30ms"}});
    EXPECT_TRUE(send(kAnswer));
    advance(29ms);
    EXPECT_THAT(departed, IsEmpty());
    advance(1ms);
    EXPECT_THAT(departed, ElementsAre(kAnswer));
    EXPECT_EQ(newest().sinceStart, 30ms);
}

TEST_F(FaultKindsTest, DelaysARequestThatIsInTheJournalWhenItCame) {
    add("delay", {{"time", "30ms"}, {"direction", "in"}});
    cardDrops = "the card is muted";
    receive(kRequest);
    EXPECT_EQ(newest().sinceStart, 0ms);
    EXPECT_THAT(newest().faults, ElementsAre(1));
    advance(30ms);
    EXPECT_THAT(arrived, ElementsAre(kRequest));
    EXPECT_EQ(newest().number, 1U);
    EXPECT_EQ(newest().dropped, "the card is muted");
}

TEST_F(FaultKindsTest, DuplicatesADatagram) {
    add("duplicate", {{"direction", "all"}});
    receive(kRequest);
    EXPECT_THAT(arrived, ElementsAre(kRequest, kRequest));
    add("duplicate", {{"copies", "2"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(kAnswer, kAnswer, kAnswer, kAnswer));
}

TEST_F(FaultKindsTest, SwapsADatagramWithTheNext) {
    add("reorder", {{"count", "1"}});
    send("00070001 0002 0000");
    EXPECT_THAT(departed, IsEmpty());
    send("00070002 0002 0000");
    send("00070003 0002 0000");
    EXPECT_THAT(departed, ElementsAre("0007000200020000", "0007000100020000", "0007000300020000"));
    advance(1s);
    EXPECT_EQ(departed.size(), 3U);
}

TEST_F(FaultKindsTest, SwapsInPairsWhenEveryDatagramIsToBeSwapped) {
    add("reorder");
    for (const std::string ctag : {"0001", "0002", "0003", "0004"}) {
        send("0007" + ctag + "00020000");
    }
    EXPECT_THAT(departed, ElementsAre("0007000200020000", "0007000100020000", "0007000400020000",
                                      "0007000300020000"));
}

TEST_F(FaultKindsTest, DoesntWaitForTheNextBeyondTheLimit) {
    add("reorder", {{"limit", "20ms"}});
    send(kAnswer);
    advance(19ms);
    EXPECT_THAT(departed, IsEmpty());
    advance(1ms);
    EXPECT_THAT(departed, ElementsAre(kAnswer));
}

TEST_F(FaultKindsTest, SwapsNothingWithADatagramOfAnotherCard) {
    add("reorder", {{"card", "3"}});
    send(kAnswer, 3);
    send(kEvent, 4);
    EXPECT_THAT(departed, ElementsAre(kEvent));
    send(kEvent, 3);
    EXPECT_THAT(departed, ElementsAre(kEvent, kEvent, kAnswer));
}

TEST_F(FaultKindsTest, CutsBytesOffTheEnd) {
    add("truncate", {{"bytes", "3"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d000700040"
                                                "0"));
}

TEST_F(FaultKindsTest, CutsToALength) {
    const auto& fault = add("truncate", {{"to", "9"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d00070004000001"));
    EXPECT_THAT(outcomeOf("012d00070004000001"), ElementsAre("012d00070004000001"));
    EXPECT_EQ(fault.hits(), 1U);
    EXPECT_EQ(fault.passedBy(), 1U);
}

TEST_F(FaultKindsTest, CutsToNothing) {
    add("truncate", {{"to", "0"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(""));
}

TEST_F(FaultKindsTest, LeavesADatagramAloneThatIsShorterThanTheCut) {
    const auto& fault = add("truncate", {{"bytes", "11"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(kAnswer));
    EXPECT_EQ(fault.passedBy(), 1U);
}

TEST_F(FaultKindsTest, FlipsTheBitThatIsNamed) {
    add("flip-bit", {{"bit", "0"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("812d0007000400000100"));
    faults.remove(1);
    add("flip-bit", {{"bit", "79"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d0007000400000101"));
    faults.remove(2);
    const auto& beyond = add("flip-bit", {{"bit", "80"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre(kAnswer));
    EXPECT_EQ(beyond.passedBy(), 1U);
}

TEST_F(FaultKindsTest, FlipsAnyOneBitOfADatagram) {
    add("flip-bit");
    const auto spoiled = bytesOf(outcomeOf(kAnswer).at(0));
    const auto whole = bytesOf(kAnswer);
    ASSERT_EQ(spoiled.size(), whole.size());
    int flipped = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        flipped += __builtin_popcount(static_cast<unsigned>(spoiled[i] ^ whole[i]));
    }
    EXPECT_EQ(flipped, 1);
}

TEST_F(FaultKindsTest, GivesADatagramTheNextCtag) {
    add("wrong-ctag");
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d0008000400000100"));
    EXPECT_THAT(outcomeOf("012dffff00020000"), ElementsAre("012d000000020000"));
    EXPECT_THAT(outcomeOf("012d00"), ElementsAre("012d00"));
    EXPECT_EQ(faults.find(1)->passedBy(), 1U);
}

TEST_F(FaultKindsTest, GivesADatagramAnotherId) {
    add("wrong-id", {{"id", "Enable OLT"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("00080007000400000100"));
    faults.remove(1);
    add("wrong-id");
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012e0007000400000100"));
}

TEST_F(FaultKindsTest, GivesADatagramAnotherLength) {
    add("wrong-length");
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d0007000500000100"));
    faults.remove(1);
    add("wrong-length", {{"length", "0"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d0007000000000100"));
}

TEST_F(FaultKindsTest, GivesAnAnswerAResultAndNoData) {
    add("result", {{"code", "0x0105"}});
    EXPECT_THAT(outcomeOf(kAnswer), ElementsAre("012d000700020105"));
    EXPECT_THAT(outcomeOf(kEvent), ElementsAre(kEvent));
}

TEST_F(FaultKindsTest, PassByADatagramThatIsAlreadyAsTheyWouldHaveIt) {
    const std::string refused = "012d000700020003";
    add("wrong-id", {{"id", "301"}});
    add("wrong-length", {{"length", "2"}});
    add("result", {{"code", "3"}});
    EXPECT_THAT(outcomeOf(refused), ElementsAre(refused));
    for (const auto& fault : faults.all()) {
        EXPECT_EQ(fault->hits(), 0U) << fault->settings().kind->name;
        EXPECT_EQ(fault->passedBy(), 1U) << fault->settings().kind->name;
    }
    EXPECT_TRUE(newest().faults.empty());
}

TEST_F(FaultKindsTest, SendFromAnotherPortOnceWhenTwoNameTheSame) {
    add("wrong-port", {{"port", "9"}});
    add("wrong-port", {{"port", "9"}});
    send(kAnswer);
    EXPECT_EQ(faults.find(1)->hits(), 1U);
    EXPECT_EQ(faults.find(2)->hits(), 0U);
    EXPECT_EQ(faults.find(2)->passedBy(), 1U);
}

TEST_F(FaultKindsTest, HasAnAnswerComeLateAfterTheWholeExchange) {
    add("late");
    send(kAnswer);
    send(kEvent);
    EXPECT_THAT(departed, ElementsAre(kEvent));
    advance(15999ms);
    EXPECT_EQ(departed.size(), 1U);
    advance(1ms);
    EXPECT_THAT(departed, ElementsAre(kEvent, kAnswer));
}

TEST_F(FaultKindsTest, HasAnAnswerComeLateByATimeThatIsSet) {
    add("late", {{"time", "20s"}});
    send(kAnswer);
    advance(19s);
    EXPECT_THAT(departed, IsEmpty());
    advance(1s);
    EXPECT_THAT(departed, ElementsAre(kAnswer));
}

TEST_F(FaultKindsTest, MutesAnswersAndNoEvents) {
    add("mute");
    send(kAnswer);
    send(kEvent);
    EXPECT_THAT(departed, ElementsAre(kEvent));
}

TEST_F(FaultKindsTest, HasTheCardPretendWhatSetsSomethingAndNothingElse) {
    const std::string setNvs = "012e0008000100";
    const auto& fault = add("pretend");
    receive(setNvs);
    receive(kRequest);
    receive("0fff00090000");
    receive("00");
    send(kAnswer);
    EXPECT_THAT(arrived, ElementsAre(setNvs, kRequest, "0fff00090000", "00"));
    EXPECT_THAT(pretendedOf, ElementsAre(true, false, false, false));
    EXPECT_THAT(departed, ElementsAre(kAnswer));
    EXPECT_EQ(fault.hits(), 1U);
    EXPECT_THAT(journal.find(1)->faults, ElementsAre(1));
    EXPECT_EQ(journal.find(1)->dropped, "");
}

TEST_F(FaultKindsTest, HasEachCopyOfADelayedRequestPretended) {
    add("pretend");
    add("delay", {{"direction", "in"}, {"time", "30ms"}});
    add("duplicate", {{"direction", "in"}});
    receive("000800020000");
    EXPECT_THAT(arrived, IsEmpty());
    advance(30ms);
    EXPECT_THAT(pretendedOf, ElementsAre(true, true));
}

TEST_F(FaultKindsTest, SendsFromAnotherPort) {
    add("wrong-port", {{"count", "1"}});
    add("wrong-port", {{"port", "9"}, {"count", "2"}});
    send(kAnswer);
    send(kAnswer);
    send(kAnswer);
    EXPECT_THAT(departedFrom, ElementsAre(Endpoint{kCard.address, 9}, Endpoint{kCard.address, 9},
                                          Endpoint{kCard.address, 14113}));
    EXPECT_EQ(journal.find(1)->local, (Endpoint{kCard.address, 9}));
}

TEST_F(FaultKindsTest, SendsFromThePortAboveTheCardsUnlessToldOtherwise) {
    add("wrong-port");
    send(kAnswer);
    EXPECT_THAT(departedFrom, ElementsAre(Endpoint{kCard.address, 14114}));
    EXPECT_EQ(wrongPort({}, 65535), 65534);
}

TEST_F(FaultKindsTest, HitACardByChanceOfItsOwnHoweverTheCardsAlternate) {
    auto& alone = add("wrong-ctag", {{"probability", "0.5"}});
    FaultTable others(seed, timers);
    auto& shared = others.add(parseFault("wrong-ctag", {{"probability", "0.5"}}));
    int differ = 0;
    for (int i = 0; i < 40; ++i) {
        const bool elsewhere = shared.strikes(4);
        const bool here = shared.strikes(3);
        EXPECT_EQ(here, alone.strikes(3)) << i;
        differ += here == elsewhere ? 0 : 1;
    }
    EXPECT_GT(differ, 0);
}

TEST_F(FaultKindsTest, ThatIsRemovedIsTheReasonWhyWhatItDelayedCannotLeave) {
    add("wrong-port");
    add("delay", {{"time", "30ms"}});
    send(kAnswer);
    faults.remove(1);
    systemSends = false;
    advance(30ms);
    EXPECT_EQ(newest().dropped, "its fault is removed");
    faults.remove(2);
    send(kAnswer);
    EXPECT_EQ(newest().dropped, "the system refused to send it");
}

}  // namespace
}  // namespace ponmgr::sim
