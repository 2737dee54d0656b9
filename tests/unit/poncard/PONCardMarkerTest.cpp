// The OAM extension set by which a card shows that this system has configured it.

#include "PONCardFixture.h"
#include "SurpriseWake.h"
#include "poncard/PONCardHelper.h"

namespace ponmgr::test {

namespace {

constexpr const char* kQuestion = "01 b3 00 02 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00";

class PONCardMarkerTest : public PONCardFixture {
protected:
    PONCardMarkerTest() { identify(); }

    /// Asks for the marker; `answer` is what follows the ctag.
    bool ask(const std::string& answer) {
        transport.expect(kQuestion).deliver("01 b3 00 02 " + answer);
        return helper.doRequestCtcMode();
    }

    /// Lets the card be known as marked, and then asks again.
    void markWithThirdCtag() {
        transport.expect(kQuestion).deliver(
            "01 b3 00 02 00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 01");
        helper.doRequestCtcMode();
        ASSERT_TRUE(helper.getIsOnCtcMode());
    }
    static constexpr const char* kSecondQuestion =
        "01 b3 00 03 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00";
};

}  // namespace

TEST_F(PONCardMarkerTest, AMarkerThatIsOnIsFound) {
    EXPECT_TRUE(ask("00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 01"));
    EXPECT_TRUE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AMarkerThatIsOffIsAnAnswer) {
    EXPECT_TRUE(ask("00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 00"));
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, OnlyExactlyOneIsOn) {
    EXPECT_TRUE(ask("00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 02"));
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AMarkerBehindOtherSetsIsFound) {
    EXPECT_TRUE(
        ask("00 25 00 00 08 00 0d b6 01 02 03 01 05 00 00 0d b6 00 02 05 00 11 11 11 01"
            " 03 05 00 aa aa aa 00 04 05 00 00 a1 f5 00"));
    EXPECT_TRUE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, TheFirstOfTwoMarkersCounts) {
    EXPECT_TRUE(ask("00 17 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 00 02 05 00 11 11 11 01"));
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AnAnswerWithoutTheMarkerIsAnAnswer) {
    EXPECT_TRUE(ask("00 17 00 00 08 00 0d b6 01 02 03 01 05 00 00 0d b6 01 03 05 00 aa aa aa 01"));
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, TheMarkersTypeIsNotLookedAt) {
    EXPECT_TRUE(ask("00 10 00 00 08 00 0d b6 01 02 03 09 05 00 11 11 11 01"));
    EXPECT_TRUE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AnAnswerWithoutAnySetsIsAnAnswer) {
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(ask("00 09 00 00 08 00 0d b6 01 02 03")); }), "");
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AnAnswerWithoutTheMarkerTakesItAway) {
    markWithThirdCtag();
    transport.expect(kSecondQuestion).deliver("01 b3 00 03 00 09 00 00 08 00 0d b6 01 02 03");
    EXPECT_TRUE(helper.doRequestCtcMode());
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AnExchangeWithoutARecordIsAFailureThatTakesTheMarkerAway) {
    markWithThirdCtag();
    transport.expect(kSecondQuestion).silent();
    endNextWaitBySurprise();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestCtcMode()); }),
              "doRequestCtcMode[#]: Container can't be null\n");
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AFailedQuestionTakesTheMarkerAway) {
    markWithThirdCtag();
    transport.expect(kSecondQuestion).failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestCtcMode()); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n");
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, AnAnswerThatBreaksOffIsAFailure) {
    markWithThirdCtag();
    transport.expect(kSecondQuestion).deliver("01 b3 00 03 00 08 00 00 08 00 0d b6 01 02");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestCtcMode()); }),
              "parseGet_OAM_Extension_Set_Support[#]: Invalid data length size\n");
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, TheSetsAreSwitchedByOneRequest) {
    transport
        .expect(
            "01 b4 00 02 00 23 08 00 0d b6 01 02 03"
            " 01 05 00 00 0d b6 01"
            " 02 05 00 11 11 11 01"
            " 03 05 00 aa aa aa 00"
            " 04 05 00 00 a1 f5 00")
        .accept();
    EXPECT_TRUE(helper.doSetEnCtcMode());
}

TEST_F(PONCardMarkerTest, SwitchingTheSetsDoesNotMarkTheCardByItself) {
    transport.acceptTheRest();
    helper.doSetEnCtcMode();
    EXPECT_FALSE(helper.getIsOnCtcMode());
}

TEST_F(PONCardMarkerTest, ACardThatRefusesTheSetsFailsTheOperation) {
    transport.answerTheRest(
        [](const Bytes&) { return std::vector<Bytes>{bytes("01 b4 00 02 00 02 00 05")}; });
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doSetEnCtcMode()); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <436>\n");
}

}  // namespace ponmgr::test
