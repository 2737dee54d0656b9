// The one configuration of every card: all that is sent, in its order.

#include "PONCardTaskFixture.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

/// Ctags 1 to 3 are for identity, storage and marker. The card knows the link 00:0f:e9:00:00:0a and
/// has discovered 00:0f:e9:00:00:0b.
const Texts kConfiguration = {
    "00 09 00 04 00 00",
    "01 b4 00 05 00 23 08 00 0d b6 01 02 03 01 05 00 00 0d b6 01 02 05 00 11 11 11 01 03"
    " 05 00 aa aa aa 00 04 05 00 00 a1 f5 00",
    "01 9c 00 06 00 0f 00 0d b6 01 02 03 00 00 00 00 00 00 00 00 00",
    "01 73 00 07 00 0f 00 0d b6 01 02 03 00 00 00 00 00 00 00 00 00",
    "01 9c 00 08 00 0f 00 0d b6 01 02 03 00 01 00 00 00 00 00 00 00",
    "01 73 00 09 00 0f 00 0d b6 01 02 03 00 01 00 00 00 00 00 00 00",
    "01 89 00 0a 00 0b 00 0d b6 01 02 03 00 00 00 00 00",
    "01 89 00 0b 00 0b 00 0d b6 01 02 03 00 01 00 00 00",
    "01 26 00 0c 00 08 00 0d b6 01 02 03 00 00",
    "01 26 00 0d 00 08 00 0d b6 01 02 03 00 01",
    "01 63 00 0e 00 0a 00 0d b6 01 02 03 00 00 00 05",
    "01 63 00 0f 00 0a 00 0d b6 01 02 03 00 01 00 05",
    "00 01 00 10 00 03 01 14 01",
    "00 50 00 11 00 0a 00 05 00 00 00 18 01 01 00 01",
    "01 67 00 12 00 10 00 0d b6 01 02 03 00 00 00 00 1a 5e 0c 35 00 00",
    "01 67 00 13 00 10 00 0d b6 01 02 03 00 01 00 00 1a 5e 0c 35 00 00",
    "02 20 00 14 00 0a 00 0d b6 01 02 03 00 00 00 10",
    "02 20 00 15 00 0a 00 0d b6 01 02 03 00 01 00 10",
    "01 78 00 16 00 0e 20 00 00 01 00 01 00 20 00 02 00 01 00 20",
    "01 78 00 17 00 0e 20 02 00 01 00 01 00 20 00 03 00 01 00 20",
    "01 78 00 18 00 0e 20 04 00 00 00 01 00 20 00 03 00 01 00 20",
    "01 78 00 19 00 0e 20 06 00 00 00 01 00 20 00 02 00 01 00 20",
    "01 78 00 1a 00 0e 20 08 00 00 00 01 00 20 00 00 00 01 00 20",
    "01 78 00 1b 00 0e 20 0a 00 00 00 01 00 20 00 02 00 01 00 20",
    "01 78 00 1c 00 0e 20 0c 00 01 00 01 00 20 00 01 00 01 00 20",
    "01 78 00 1d 00 0e 20 0e 00 01 00 01 00 20 00 03 00 01 00 20",
    "01 4f 00 1e 00 08 10 00 00 0f 42 40 00 00",
    "02 25 00 1f 00 20 04 02 00 00 10 10 10 02 00 00 02 00 02 00 06 02 20 04 20 06 00 00"
    " 02 00 04 00 08 02 20 00 20 02",
    "01 93 00 20 00 2d 04 02 00 01 00 00 01 00 00 01 00 00 01 0a 03 03 02 00 00 09 04 00"
    " 00 00 00 0b 04 00 00 00 00 01 01 00 00 00 00 00 00 00 00 00 00 07 00",
    "01 93 00 21 00 2d 04 02 00 01 00 00 01 00 01 01 00 00 01 0a 03 03 02 00 00 09 04 00"
    " 00 00 00 0b 04 00 00 00 00 01 01 00 00 00 00 00 00 00 00 00 00 07 00",
    "01 93 00 22 00 2d 04 02 00 01 00 00 01 00 00 01 00 01 01 0a 03 03 02 00 00 09 04 00"
    " 00 00 00 0b 04 00 00 00 00 01 01 00 00 00 00 00 00 00 00 00 00 07 00",
    "01 93 00 23 00 2d 04 02 00 01 00 00 01 00 01 01 00 01 01 0a 03 03 02 00 00 09 04 00"
    " 00 00 00 0b 04 00 00 00 00 01 01 00 00 00 00 00 00 00 00 00 00 07 00",
    "01 51 00 24 00 46 04 02 00 00 00 03 00 00 00 03 00 00 00 00 00 0f 42 40 00 00 27 10"
    " 03 e8 00 00 00 02 02 58 02 44 00 37 00 02 03 20 00 02 00 6e 00 0a 00 00 03 e8 00"
    " 00 c0 a8 65 02 fe 80 00 00 00 00 00 00 00 00 00 00 00 00 00 01",
    "01 5d 00 25 00 11 04 02 00 06 00 06 00 06 06 07 06 06 06 06 06 06 00",
    "00 76 00 26 00 00",
    "00 44 00 27 00 00",
    "00 77 00 28 00 06 00 0f e9 00 00 0a",
    "00 77 00 29 00 06 00 0f e9 00 00 0b",
    "00 08 00 2a 00 00",
};

constexpr const char* kDiscovery =
    "80 19 00 00 00 1e 00 00 00 00 00 0f e9 00 00 0c 00 12 00 0f e9 37 15 00 11 00 01 01 00 01 00"
    " 00 00 00 00 00";

class ConfigurationRealSecondsTest : public ReadySlotFixture {
protected:
    /// A card without its marker, and the pass that identifies it.
    void insertUnmarkedCard() {
        insertMarkedCard();
        unmarkCard();
        card.answer("00 76", "00 08 00 00 00 0f e9 00 00 0a");
        card.answer("00 44", "00 08 00 00 00 0f e9 00 00 0b");
        slot.runMainPass();
        sent();
        takeNotifications();
    }
    /// What is sent behind storage and marker.
    Texts sentConfiguration() {
        Texts requests = sent();
        EXPECT_GE(requests.size(), 2U);
        requests.erase(requests.begin(), requests.begin() + 2);
        return requests;
    }
};

}  // namespace

TEST_F(ConfigurationRealSecondsTest, AnUnmarkedCardIsSentTheWholeConfigurationInItsOrder) {
    insertUnmarkedCard();
    EXPECT_EQ(textPrintedBy([this] { slot.runMainPass(); }), "");
    EXPECT_EQ(sentConfiguration(), kConfiguration);
}

TEST_F(ConfigurationRealSecondsTest, StepsThatAreRefusedArePrintedAndTheSequenceGoesOn) {
    insertUnmarkedCard();
    std::string printed;
    for (const std::string& request : kConfiguration) {
        const std::string id = request.substr(0, 5);
        if (id != "00 76" && id != "00 44") {
            card.answer(id, "00 02 00 05");
            const int number = std::stoi(id.substr(0, 2) + id.substr(3), nullptr, 16);
            printed += "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <" +
                       std::to_string(number) + ">\n";
        }
    }
    EXPECT_EQ(linesPrintedBy([this] { slot.runMainPass(); }), printed);
    EXPECT_EQ(sentConfiguration(), kConfiguration);
}

TEST_F(ConfigurationRealSecondsTest, AfterItTheListIsEmptyAndNotAskedForAgain) {
    insertUnmarkedCard();
    slot.runMainPass();
    insertMarkedCard();
    sent();
    slot.runMainPass();
    EXPECT_EQ(sent(), (Texts{"01 b3 00 2b 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00",
                             "01 38 00 2c 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04",
                             "01 38 00 2d 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04"}));
    EXPECT_TRUE(slot.getHelper().getIsGetAllOnuKnown());
}

TEST_F(ConfigurationRealSecondsTest, LinksThatItFindsAreNotReported) {
    insertUnmarkedCard();
    slot.runMainPass();
    insertMarkedCard();
    takeNotifications();
    runPasses(2);
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(ConfigurationRealSecondsTest, EventsThatCameBeforeItAreHandledInTheFirstFullPass) {
    insertMarkedCard();
    unmarkCard();
    card.sendBeforeNextAnswer(kDiscovery);
    runPasses(2);  // identification and configuration
    insertMarkedCard();
    sent();
    takeNotifications();
    slot.runMainPass();
    const Texts requests = sent();
    ASSERT_GE(requests.size(), 3U);
    EXPECT_TRUE(requests[0].starts_with("01 b3 ")) << requests[0];
    EXPECT_TRUE(requests[1].starts_with("01 84 ")) << requests[1];
    EXPECT_TRUE(requests[2].starts_with("01 81 ")) << requests[2];
    const Texts notifications = takeNotifications();
    ASSERT_EQ(notifications.size(), 2U);
    EXPECT_TRUE(notifications[0].starts_with(R"({"action":"set","uri":"/onu/new",)"));
    EXPECT_TRUE(notifications[1].starts_with(R"({"action":"set","uri":"/olt/alarm/new",)"));
}

TEST_F(ConfigurationRealSecondsTest, ItEndsThePassBeforeEventsAreHandled) {
    insertUnmarkedCard();
    card.sendBeforeNextAnswer(kDiscovery);
    slot.runMainPass();
    const Texts notifications = takeNotifications();
    ASSERT_EQ(notifications.size(), 1U);  // the identified card
    EXPECT_TRUE(notifications[0].starts_with(R"({"action":"set","uri":"/olt/new",)"));
    EXPECT_TRUE(sent().back().starts_with("00 08 "));
}

TEST_F(ConfigurationRealSecondsTest, LinksAreListedAgainAfterTheTwelfthFullPass) {
    insertUnmarkedCard();
    slot.runMainPass();
    insertMarkedCard();
    std::vector<int> listing;
    for (int pass = 1; pass <= 13; pass++) {
        sent();
        slot.runMainPass();
        for (const std::string& request : sent()) {
            if (request.starts_with("00 76 ")) {
                listing.push_back(pass);
            }
        }
    }
    EXPECT_EQ(listing, std::vector<int>{13});
}

}  // namespace ponmgr::test
