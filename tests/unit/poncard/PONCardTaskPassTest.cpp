// The full passes of the main loop: what is done in which order, and how often.

#include <algorithm>

#include "PONCardTaskFixture.h"
#include "support/PrintedText.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kDiscovery =
    "80 19 00 00 00 1e 00 00 00 00 00 0f e9 00 00 0a 00 12 00 0f e9 37 15 00 11 00 01 01 00 01 00"
    " 00 00 00 00 00";
constexpr const char* kLost = "80 1a 00 00 00 0f 00 00 00 00 03 00 0f e9 00 00 0a 17 01 01 00";

class FullPassRealSecondsTest : public ReadySlotFixture {
protected:
    FullPassRealSecondsTest() { insertMarkedCard(); }

    /// The numbers of the full passes, of so many, in which a request of this id is sent.
    std::vector<int> passesThatSend(const std::string& id, int count) {
        std::vector<int> passes;
        for (int pass = 1; pass <= count; pass++) {
            sent();
            slot.runMainPass();
            const Texts requests = sent();
            if (std::any_of(requests.begin(), requests.end(),
                            [&](const auto& request) { return request.starts_with(id); })) {
                passes.push_back(pass);
            }
        }
        return passes;
    }
    /// The URIs of what is reported since the last call.
    static Texts reportedUris() {
        Texts uris;
        for (const std::string& text : takeNotifications()) {
            const auto begin = text.find("/");
            uris.push_back(text.substr(begin, text.find('"', begin) - begin));
        }
        return uris;
    }

    /// A card with links 0a (discovered by an event), 0b (known alone) and 0c, and an unused path.
    void fillCard() {
        card.answer("01 84",
                    "00 17 00 00 00 0f e9 00 00 0a 01 00 40 21 01 00 01 31 01 00 02 41 01 00 03");
        card.answer("00 76", "00 14 00 00 00 0f e9 00 00 0a 00 0f e9 00 00 0b 00 0f e9 00 00 0c");
        card.answer("00 44", "00 0e 00 00 00 0f e9 00 00 0a 00 0f e9 00 00 0c");
        card.answer("01 6b",
                    "00 1c 00 00 00 0f e9 00 00 0c 00 12 00 0f e9 37 15 00 11 00 01 01 00 01 00 00"
                    " 00 00 00 00");
        card.answer("01 79", "00 06 00 00 00 09 00 02");
        card.answer("02 49", "00 12 00 00 00 0f e9 00 00 0a 19 00 80 e8 13 88 00 0a 27 10");
        card.answer("01 38",
                    "00 17 00 00 05 00 0d b6 01 02 03 00 00 00 0b 07 00 00 00 00 00 00 00 19 00");
    }
};

constexpr const char* kService = " 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10";

}  // namespace

TEST_F(FullPassRealSecondsTest, APassWithoutMemoryLetsNothingOutAndTheNextOneIsWhole) {
    slot.runMainPass();
    sent();
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation noMemory(FailingAllocation::Kind::Throwing);
                  EXPECT_NO_THROW(slot.runMainPass());
              }),
              "Unknown Error at doReportOLTModule\n"
              "Unknown Error at doRequestNVSEnabled\n"
              "Unknown Error at doRequestCtcMode\n"
              "Unknown Error at requestHasDomain\n"
              "Unknown Error at doResetOLT\n");
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(passesThatSend("00 76 ", 1), std::vector<int>{1});
}

TEST_F(FullPassRealSecondsTest, AFullPassDoesEverythingInItsOrder) {
    fillCard();
    card.sendBeforeNextAnswer(kDiscovery);
    slot.runMainPass();
    sent();
    takeNotifications();
    EXPECT_EQ(textPrintedBy([this] { slot.runMainPass(); }), "");
    EXPECT_EQ(
        sent(),
        (Texts{
            "01 2d 00 02 00 00",
            "01 b3 00 03 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00",
            "01 7d 00 04 00 00",
            // the queues of the link that was discovered, and its provisioning
            "01 84 00 05 00 06 00 0f e9 00 00 0a",
            "01 81 00 06 00 06 00 0f e9 00 00 0a",
            "01 8d 00 07 00 22 00 0f e9 00 00 0a 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02"
            " 00 10 01 02 00 00 00 00 00 00 00 00",
            std::string("01 80 00 08 00 16 21 01") + kService,
            std::string("01 80 00 09 00 16 31 01") + kService,
            std::string("01 80 00 0a 00 16 41 01") + kService,
            "01 2b 00 0b 00 10 00 0f e9 00 00 0a 80 01 01 00 00 01 01 01 01 01",
            // the refresh: a new link is asked for its port, one that is gone is cleared
            "00 76 00 0c 00 00",
            "00 44 00 0d 00 00",
            "01 6b 00 0e 00 06 00 0f e9 00 00 0c",
            "00 77 00 0f 00 06 00 0f e9 00 00 0b",
            "01 79 00 10 00 00",
            "01 83 00 11 00 04 00 09 00 00",
            "01 83 00 12 00 04 00 0a 00 00",
            // optics
            "02 49 00 13 00 06 00 0f e9 00 00 0a",
            "02 49 00 14 00 06 00 0f e9 00 00 0c",
            "01 38 00 15 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04",
            "01 38 00 16 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04",
        }));
    // the card before everything, the link when it is provisioned, the alarms behind the links
    EXPECT_EQ(reportedUris(), (Texts{"/olt/new", "/onu/new", "/olt/alarm/new"}));
}

TEST_F(FullPassRealSecondsTest, LinksThatARefreshFindsAreProvisionedAndReportedInThePassAfterIt) {
    card.answer("00 44", "00 08 00 00 00 0f e9 00 00 0a");
    runPasses(2);
    reportedUris();
    sent();
    slot.runMainPass();
    const Texts requests = sent();
    ASSERT_EQ(requests.size(), 7U);
    EXPECT_TRUE(requests[0].starts_with("01 84 ")) << requests[0];
    EXPECT_TRUE(requests[1].starts_with("01 81 ")) << requests[1];
    EXPECT_EQ(reportedUris(), Texts{"/onu/new"});
}

TEST_F(FullPassRealSecondsTest, AQueueQuestionThatFailsDoesNotKeepTheLinkFromBeingProvisioned) {
    card.answer("00 44", "00 08 00 00 00 0f e9 00 00 0a");
    card.answer("01 84", "00 03 00 00 01");
    runPasses(2);
    sent();
    linesPrintedBy([this] { slot.runMainPass(); });
    const Texts requests = sent();
    ASSERT_EQ(requests.size(), 7U);
    EXPECT_TRUE(requests[3].ends_with(kService)) << requests[3];
    EXPECT_NE(requests[3].find(" 00 14 00 00 00 00 00 00 ff"), std::string::npos) << requests[3];
}

TEST_F(FullPassRealSecondsTest, ALinkThatAnAlarmTakesOfflineIsReportedAndGoneInThatPass) {
    card.sendBeforeNextAnswer(kDiscovery);
    runPasses(2);
    slot.getHelper().doRecheckConfiguration();
    card.sendBeforeNextAnswer(kLost);
    takeNotifications();
    slot.runMainPass();
    // the alarm came in time with the answer for the marker
    const Texts notifications = takeNotifications();
    ASSERT_EQ(notifications.size(), 2U);
    EXPECT_NE(notifications[0].find(R"("online_status":"0")"), std::string::npos);
    EXPECT_NE(notifications[1].find(R"("alarm":"Report Timeout")"), std::string::npos);
}

TEST_F(FullPassRealSecondsTest, OpticsThatAreReadAreReportedInThePassAfterIt) {
    fillCard();
    runPasses(2);
    reportedUris();
    slot.runMainPass();
    EXPECT_EQ(reportedUris(), (Texts{"/olt/new", "/onu/new", "/onu/new"}));
    slot.runMainPass();
    EXPECT_EQ(reportedUris(), Texts{});
}

// --- how often ---

TEST_F(FullPassRealSecondsTest, OpticsAreReadInTheFirstFullPassAndInEvery32ndAfterIt) {
    slot.runMainPass();
    EXPECT_EQ(passesThatSend("01 38 ", 66), (std::vector<int>{1, 33, 65}));
}

TEST_F(FullPassRealSecondsTest, LinksAreListedInTheFirstFullPassAndInEvery12thAfterIt) {
    slot.runMainPass();
    EXPECT_EQ(passesThatSend("00 76 ", 38), (std::vector<int>{1, 13, 25, 37}));
}

TEST_F(FullPassRealSecondsTest, AListingThatFailsIsAskedForInEveryPassUntilItSucceeds) {
    card.answer("00 76", "00 02 00 00");
    card.beSilentTo("00 44");
    slot.runMainPass();
    linesPrintedBy([this] { EXPECT_EQ(passesThatSend("00 76 ", 2), (std::vector<int>{1, 2})); });
    card.answer("00 44", "00 02 00 00");
    EXPECT_EQ(passesThatSend("00 76 ", 3), std::vector<int>{1});
}

TEST_F(FullPassRealSecondsTest, ANewAddressDoesNotHaveTheOpticsReadSooner) {
    runPasses(2);
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.3"})");
    slot.runMainPass();
    EXPECT_EQ(passesThatSend("01 38 ", 33), std::vector<int>{32});
}

// --- OLT Ready ---

TEST_F(FullPassRealSecondsTest, ARestartedCardEndsThePassAndIsIdentifiedInTheNextOne) {
    const std::string ready =
        "80 00 00 00 00 5b" +
        oltInformation().substr(std::string("00 07 00 01 00 5d 00 00").size());
    runPasses(2);
    slot.getHelper().doRecheckConfiguration();
    card.sendBeforeNextAnswer(ready);
    card.sendBeforeNextAnswer(kDiscovery);
    sent();
    takeNotifications();
    slot.runMainPass();
    // the marker was asked for, and then the event was there
    EXPECT_EQ(sent(), Texts{"01 b3 00 0a 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00"});
    EXPECT_EQ(takeNotifications(), Texts{kSlotOnusOffline});
    slot.runMainPass();
    EXPECT_EQ(sent(), Texts{"00 07 00 0b 00 00"});
}

}  // namespace ponmgr::test
