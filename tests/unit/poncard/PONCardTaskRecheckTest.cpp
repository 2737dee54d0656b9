// How often a card that runs is asked whether it still holds its configuration: every 12th full
// pass. What is no full pass doesn't count.

#include <algorithm>

#include "PONCardTaskFixture.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

class RecheckRealSecondsTest : public ReadySlotFixture {
protected:
    /// Runs passes until one begins with the question for the marker; how many came before it. Each
    /// of them was a full one that sent nothing.
    int fullPassesUntilTheMarkerIsAsked() {
        for (int pass = 0; pass < kEnough; pass++) {
            slot.runMainPass();
            const Texts requests = sent();
            if (!requests.empty()) {
                EXPECT_TRUE(requests[0].starts_with("01 b3 ")) << requests[0];
                return pass;
            }
        }
        return kEnough;
    }

    static constexpr int kEnough = 40;
};

}  // namespace

TEST_F(RecheckRealSecondsTest, TheMarkersAreAskedAgainAfterTwelveFullPasses) {
    insertMarkedCard();
    runPasses(2);  // identification, and the first full pass
    sent();
    EXPECT_EQ(fullPassesUntilTheMarkerIsAsked(), 11);
}

TEST_F(RecheckRealSecondsTest, ARecheckAsksForMarkerDomainsLinksAndPathsButNotForTheStorage) {
    insertMarkedCard();
    runPasses(13);
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), (Texts{"01 b3 00 0a 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00",
                             "01 7d 00 0b 00 00", "00 76 00 0c 00 00", "00 44 00 0d 00 00",
                             "01 79 00 0e 00 00"}));
}

TEST_F(RecheckRealSecondsTest, RechecksFollowEachOtherAtTheSameDistance) {
    insertMarkedCard();
    runPasses(14);  // the last of them asks again and is the first full pass of the next twelve
    sent();
    EXPECT_EQ(fullPassesUntilTheMarkerIsAsked(), 11);
}

TEST_F(RecheckRealSecondsTest, ACardThatLostItsMarkerIsConfiguredByTheRecheck) {
    insertMarkedCard();
    runPasses(13);
    sent();
    unmarkCard();
    slot.runMainPass();
    const Texts requests = sent();
    ASSERT_GE(requests.size(), 4U);
    EXPECT_TRUE(requests[1].starts_with("00 09 ")) << requests[1];
}

TEST_F(RecheckRealSecondsTest, AConfigurationStartsTheCountAnew) {
    insertMarkedCard();
    runPasses(6);  // five full ones
    slot.getHelper().doRecheckConfiguration();
    unmarkCard();
    slot.runMainPass();  // the configuration
    insertMarkedCard();
    slot.runMainPass();  // the first full pass after it
    sent();
    EXPECT_EQ(fullPassesUntilTheMarkerIsAsked(), 11);
}

TEST_F(RecheckRealSecondsTest, APassThatEndsWithAResetDoesNotCount) {
    insertMarkedCard();
    card.beSilentTo("01 7d");
    runPasses(4);  // identification, three passes without domains
    insertMarkedCard();
    slot.runMainPass();  // the first full pass
    sent();
    EXPECT_EQ(fullPassesUntilTheMarkerIsAsked(), 11);
}

TEST_F(RecheckRealSecondsTest, ANewAddressDoesNotStartTheCountAnew) {
    insertMarkedCard();
    runPasses(6);  // five full ones
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.3"})");
    runPasses(2);  // identification, and the sixth full pass
    sent();
    EXPECT_EQ(fullPassesUntilTheMarkerIsAsked(), 6);
}

TEST_F(RecheckRealSecondsTest, ACardThatDoesNotAnswerForItsMarkerCountsAllTheSame) {
    insertMarkedCard();
    card.beSilentTo("01 b3");
    runPasses(6);  // identification, five full passes that ask for the marker in vain
    insertMarkedCard();
    slot.runMainPass();  // the sixth
    sent();
    EXPECT_EQ(fullPassesUntilTheMarkerIsAsked(), 6);
}

}  // namespace ponmgr::test
