// The passes of the main loop: an idle slot, and the bring-up of a card.

#include <chrono>
#include <thread>

#include "PONCardTaskFixture.h"
#include "poncard/PONCardTask.h"
#include "support/WaitFor.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kStorageOn = "00 04 00 00 01 01";

// Requests with the ctags of a bring-up that goes straight on.
constexpr const char* kAskIdentity = "00 07 00 01 00 00";
constexpr const char* kAskStorage = "01 2d 00 02 00 00";
constexpr const char* kAskMarker = "01 b3 00 03 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00";
constexpr const char* kAskDomains = "01 7d 00 04 00 00";

/// What a first full pass sends from its beginning: storage, marker, domains, the two lists of
/// links, the paths, and the optics of both ports.
const Texts kFirstFullPass = {
    kAskStorage,
    kAskMarker,
    kAskDomains,
    "00 76 00 05 00 00",
    "00 44 00 06 00 00",
    "01 79 00 07 00 00",
    "01 38 00 08 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04",
    "01 38 00 09 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04",
};

class PONCardTaskIdleTest : public ScriptedSlotFixture {};
class PONCardTaskRealSecondsTest : public ReadySlotFixture {};

const ReportedCard kIdentified{
    .appVersion = "0102", .macAddress = "00:0d:b6:01:02:03", .onlineStatus = "1"};

}  // namespace

// --- idle ---

TEST_F(PONCardTaskIdleTest, AnIdleSlotReportsItsCard) {
    slot.runMainPass();
    EXPECT_EQ(takeNotifications(), Texts{oltReport({})});
}

TEST_F(PONCardTaskIdleTest, AnIdleSlotReportsAChangeInTheNextPass) {
    slot.runMainPass();
    takeNotifications();
    slot.getHelper().setOLTOnlineStatus(true);
    slot.runMainPass();
    EXPECT_EQ(takeNotifications(), Texts{oltReport({.onlineStatus = "1"})});
}

TEST_F(PONCardTaskIdleTest, AnIdleSlotPrintsAndSendsNothing) {
    EXPECT_EQ(textPrintedBy([this] { slot.runMainPass(); }), "");
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardTaskIdleTest, AnIdlePassSleepsOnce) {
    const auto start = std::chrono::steady_clock::now();
    slot.runMainPass();
    EXPECT_GE(std::chrono::steady_clock::now() - start, kPassPause);
}

TEST_F(PONCardTaskIdleTest, AnIdleSlotSleepsWithItsCardLocked) {
    transport.expect("00 08 00 01 00 00").accept();
    const auto start = std::chrono::system_clock::now();
    std::jthread mainLoop([this] { slot.runMainPass(); });
    // the report is made under the lock, right before the sleep
    ASSERT_TRUE(waitFor([] { return !takeNotifications().empty(); }));
    carryOut("/slot/enable");
    mainLoop.join();
    ASSERT_EQ(transport.getSent().size(), 1U);
    EXPECT_GE(transport.getSent()[0].time - start, kPassPause);
}

TEST_F(PONCardTaskIdleTest, AnIdleSlotLetsItsCardGoAfterwards) {
    slot.runMainPass();
    transport.expect("00 08 00 01 00 00").accept();
    carryOut("/slot/enable");
    EXPECT_EQ(transport.getSent().size(), 1U);
}

TEST(PONCardTaskNotReady, ASlotWithAnAddressIsIdleUntilTheSharedSocketIsBound) {
    takeNotifications();
    PONCardTiming timing;
    timing.passPause = std::chrono::milliseconds(1);
    PONCardTask slot(timing);
    slot.prepare("eth9", "3");  // never given a source address
    slot.setOltIpAddress("127.0.1.3");
    takeNotifications();
    // an exchange would try for seconds and print that the card is silent
    EXPECT_EQ(textPrintedBy([&slot] { slot.runMainPass(); }), "");
    EXPECT_EQ(takeNotifications(), Texts{oltReport({})});
}

TEST_F(PONCardTaskRealSecondsTest, ASlotWithoutAnAddressIsIdleThoughTheSharedSocketIsBound) {
    carryOut("/olt/ip", R"({"ip_address":""})");
    takeNotifications();
    EXPECT_EQ(textPrintedBy([this] { slot.runMainPass(); }), "");
    EXPECT_EQ(takeNotifications(), Texts{oltReport({})});
    EXPECT_EQ(sent(), Texts{});
}

// --- identification ---

TEST_F(PONCardTaskRealSecondsTest, AnUnknownCardIsAskedWhoItIsAndNothingElse) {
    insertMarkedCard();
    slot.runMainPass();
    EXPECT_EQ(sent(), Texts{kAskIdentity});
}

TEST_F(PONCardTaskRealSecondsTest, AnIdentifiedCardIsReportedAtTheHeadOfTheNextPass) {
    insertMarkedCard();
    slot.runMainPass();
    EXPECT_EQ(takeNotifications(), Texts{oltReport({})});
    slot.runMainPass();
    EXPECT_EQ(takeNotifications(), Texts{oltReport(kIdentified)});
}

TEST_F(PONCardTaskRealSecondsTest, ACardOfAnotherProductIsAskedWhoItIsInEveryPass) {
    card.answer("00 07", oltInformation("00 01", "37 24").substr(12));
    runPasses(3);
    EXPECT_EQ(sent(), (Texts{kAskIdentity, "00 07 00 02 00 00", "00 07 00 03 00 00"}));
}

TEST_F(PONCardTaskRealSecondsTest, ASilentCardIsAskedWhoItIsInEveryPass) {
    card.beSilentTo("00 07");
    EXPECT_EQ(linesPrintedBy([this] { runPasses(2); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n"
              "sendRequestMessage[#]: Impossible to send messages to card\n");
    EXPECT_EQ(sent(), (Texts{kAskIdentity, "00 07 00 02 00 00"}));
}

// --- storage ---

TEST_F(PONCardTaskRealSecondsTest, AnIdentifiedCardIsAskedForAllThatIsNotKnownOfIt) {
    insertMarkedCard();
    slot.runMainPass();
    sent();
    EXPECT_EQ(textPrintedBy([this] { slot.runMainPass(); }), "");
    EXPECT_EQ(sent(), kFirstFullPass);
}

TEST_F(PONCardTaskRealSecondsTest, ACardThatIsWhollyKnownIsAskedNothing) {
    insertMarkedCard();
    runPasses(2);
    sent();
    runPasses(5);
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(PONCardTaskRealSecondsTest, AStorageThatIsOnIsSwitchedOffAndTheCardResetAndThePassEnds) {
    insertMarkedCard();
    card.answer("01 2d", kStorageOn);
    slot.runMainPass();
    sent();
    EXPECT_EQ(linesPrintedBy([this] { slot.runMainPass(); }),
              "parseMessage[#]: Response Message ID (6) not handled\n");
    EXPECT_EQ(sent(), (Texts{kAskStorage, "01 2e 00 03 00 01 00", "00 06 00 04 00 00"}));
}

TEST_F(PONCardTaskRealSecondsTest, AStorageThatWasSwitchedOffIsNotAskedForAgain) {
    insertMarkedCard();
    card.answer("01 2d", kStorageOn);
    runPasses(2);
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), (Texts{"01 b3 00 05 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00",
                             "01 7d 00 06 00 00", "00 76 00 07 00 00", "00 44 00 08 00 00",
                             "01 79 00 09 00 00",
                             "01 38 00 0a 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04",
                             "01 38 00 0b 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04"}));
}

TEST_F(PONCardTaskRealSecondsTest, AFailedQuestionForTheStorageDoesNotEndThePass) {
    insertMarkedCard();
    card.beSilentTo("01 2d");
    slot.runMainPass();
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), kFirstFullPass);
}

TEST_F(PONCardTaskRealSecondsTest, AFailedQuestionForTheStorageIsAskedInTheNextPass) {
    insertMarkedCard();
    card.beSilentTo("01 2d");
    runPasses(2);
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), Texts{"01 2d 00 0a 00 00"});
}

TEST_F(PONCardTaskRealSecondsTest, AStorageLastSeenOnIsSwitchedOffThoughTheQuestionFails) {
    insertMarkedCard();
    card.answer("01 2d", kStorageOn);
    runPasses(2);
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.3"})");
    card.beSilentTo("01 2d");
    slot.runMainPass();
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), (Texts{"01 2d 00 06 00 00", "01 2e 00 07 00 01 00", "00 06 00 08 00 00"}));
}

// --- marker and configuration ---

TEST_F(PONCardTaskRealSecondsTest, ACardThatDoesNotAnswerForItsMarkerGoesOnWithoutConfiguration) {
    insertMarkedCard();
    card.beSilentTo("01 b3");
    slot.runMainPass();
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), kFirstFullPass);
}

TEST_F(PONCardTaskRealSecondsTest, AnUnmarkedCardIsConfiguredAndThePassEnds) {
    insertMarkedCard();
    unmarkCard();
    slot.runMainPass();
    sent();
    EXPECT_EQ(textPrintedBy([this] { slot.runMainPass(); }), "");
    const Texts requests = sent();
    // what stands between these three grows with the configuration
    ASSERT_GE(requests.size(), 5U);
    EXPECT_EQ(requests[0], kAskStorage);
    EXPECT_EQ(requests[1], kAskMarker);
    EXPECT_EQ(requests[2], "00 09 00 04 00 00");
    EXPECT_EQ(requests[3],
              "01 b4 00 05 00 23 08 00 0d b6 01 02 03 01 05 00 00 0d b6 01 02 05 00 11 11 11 01"
              " 03 05 00 aa aa aa 00 04 05 00 00 a1 f5 00");
    EXPECT_TRUE(requests.back().starts_with("00 08 ")) << requests.back();
}

TEST_F(PONCardTaskRealSecondsTest, AConfiguredCardCountsAsHavingItsDomains) {
    insertMarkedCard();
    unmarkCard();
    runPasses(2);
    EXPECT_TRUE(slot.getHelper().getHasDomain());
    insertMarkedCard();
    sent();
    slot.runMainPass();
    const Texts requests = sent();
    ASSERT_FALSE(requests.empty());
    EXPECT_TRUE(requests[0].starts_with("01 b3 ")) << requests[0];
    for (const std::string& request : requests) {
        EXPECT_FALSE(request.starts_with("01 7d ")) << request;
    }
}

TEST_F(PONCardTaskRealSecondsTest, ACardThatStaysUnmarkedIsConfiguredInEveryPass) {
    insertMarkedCard();
    unmarkCard();
    runPasses(2);
    sent();
    slot.runMainPass();
    const Texts requests = sent();
    ASSERT_GE(requests.size(), 4U);
    EXPECT_TRUE(requests[0].starts_with("01 b3 ")) << requests[0];
    EXPECT_TRUE(requests[1].starts_with("00 09 ")) << requests[1];
    EXPECT_TRUE(requests[2].starts_with("01 b4 ")) << requests[2];
    EXPECT_TRUE(requests.back().starts_with("00 08 ")) << requests.back();
}

TEST_F(PONCardTaskRealSecondsTest, AStepThatFailsDoesNotEndTheConfiguration) {
    insertMarkedCard();
    unmarkCard();
    card.answer("00 09", "00 02 00 01");
    slot.runMainPass();
    sent();
    EXPECT_EQ(linesPrintedBy([this] { slot.runMainPass(); }),
              "parseCheckResultOk[#]: Unsupported Message ID <9>\n");
    const Texts requests = sent();
    ASSERT_GE(requests.size(), 5U);
    EXPECT_TRUE(requests[3].starts_with("01 b4 ")) << requests[3];
    EXPECT_TRUE(requests.back().starts_with("00 08 ")) << requests.back();
}

// --- domains ---

TEST_F(PONCardTaskRealSecondsTest, ACardWithoutAnAnswerForItsDomainsIsReset) {
    insertMarkedCard();
    card.beSilentTo("01 7d");
    slot.runMainPass();
    sent();
    EXPECT_EQ(linesPrintedBy([this] { slot.runMainPass(); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n"
              "parseMessage[#]: Response Message ID (6) not handled\n");
    EXPECT_EQ(sent(), (Texts{kAskStorage, kAskMarker, kAskDomains, "00 06 00 05 00 00"}));
}

TEST_F(PONCardTaskRealSecondsTest, AResetForMissingDomainsIsRepeatedInEveryPass) {
    insertMarkedCard();
    card.beSilentTo("01 7d");
    runPasses(2);
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), (Texts{"01 7d 00 06 00 00", "00 06 00 07 00 00"}));
}

}  // namespace ponmgr::test
