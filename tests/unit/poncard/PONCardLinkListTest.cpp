// How ONU links get into the list, and out of it without a report.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>

#include "PONCardLinkFixture.h"
#include "SurpriseWake.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

constexpr const char* kA = "00:0f:e9:00:00:0a";
constexpr const char* kB = "00:0f:e9:00:00:0b";
constexpr const char* kC = "00:0f:e9:00:00:0c";
constexpr const char* kNoAnswer = "sendRequestMessage[#]: Impossible to send messages to card\n";

class PONCardLinkListTest : public PONCardLinkFixture {
protected:
    /// Answers the first refresh; what follows the ctags of known and discovered links.
    bool refresh(const std::string& known, const std::string& discovered, bool clearList = false) {
        transport.expect("00 76 00 01 00 00").deliver("00 76 00 01 " + known);
        transport.expect("00 44 00 02 00 00").deliver("00 44 00 02 " + discovered);
        return helper.doGetAllOnuKnown(clearList);
    }
};

/// The MAC address with these last two bytes, on the wire.
std::string macOf(unsigned number) {
    std::array<char, 18> bytes{};
    std::snprintf(bytes.data(), bytes.size(), "00 0f e9 00 %02x %02x", number / 256, number % 256);
    return bytes.data();
}

class FullPONCardLinkListTest : public PONCardLinkListTest {
protected:
    /// Lets more ONUs be discovered than a list of links takes.
    void discoverTooMany() {
        const std::string discovery = linkDiscovery("0a");
        for (unsigned number = 0; number < 520; number++) {
            std::string text = discovery;
            emit(text.replace(text.find("00 0f e9 00 00 0a"), 17, macOf(number)));
        }
        EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.handleAlarms()); }), "");
    }

    std::size_t linkCount() {
        const std::string list = links();
        const std::regex mac("\"mac_address\":");
        return static_cast<std::size_t>(
            std::distance(std::sregex_iterator(list.begin(), list.end(), mac), {}));
    }
};

/// A card that answers as often as it is asked: the link 0a is in both lists, 0b is discovered. The
/// daemon knows 0a, which is on-line. A new one for each try takes memory in the same order.
class CardOfOneRefresh : public PONCardLinkListTest {
public:
    CardOfOneRefresh() {
        discover("0a");
        transport.answerTheRest([](const Bytes& request) {
            Bytes answer = bytes(request[1] == 0x76 ? "00 76 00 00 00 08 00 00 00 0f e9 00 00 0a"
                                                    : "00 44 00 00 00 0e 00 00 00 0f e9 00 00 0a"
                                                      " 00 0f e9 00 00 0b");
            std::copy_n(request.begin() + 2, 2, answer.begin() + 2);  // the ctag
            return std::vector<Bytes>{answer};
        });
    }

    /// Whether an allocation failed behind so many; the others get their memory.
    bool refreshWithout(int spared) {
        bool failed = false;
        textPrintedBy([&] {
            const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1, spared);
            helper.doGetAllOnuKnown(false);
            failed = failure.hasFailed();
        });
        return failed;
    }

    std::string linksNow() { return links(); }

private:
    void TestBody() override {}
};

class PONCardOnuInformationTest : public PONCardLinkFixture {
protected:
    /// Asks for the first link; `answer` is what follows the ctag.
    bool ask(const std::string& answer) {
        transport.expect("01 6b 00 01 00 06 00 0f e9 00 00 0a").deliver("01 6b 00 01 " + answer);
        return helper.doGetOnuInformation(&link);
    }

    OnuLink link{kA};
};

/// Downstream port 1, upstream port 0.
constexpr const char* kInformation =
    "00 1c 00 00 00 0f e9 00 00 0a 00 12 00 0f e9 37 15 00 11 00 01 01 00 01 00 00 00 00 00 00";

}  // namespace

// --- doGetAllOnuKnown ---

TEST_F(PONCardLinkListTest, KnownLinksAreOfflineAndDiscoveredOnesOnline) {
    EXPECT_TRUE(refresh("00 08 00 00 00 0f e9 00 00 0a", "00 08 00 00 00 0f e9 00 00 0b"));
    EXPECT_EQ(links(), listOf({{.mac = kA}, {.mac = kB, .online = "1"}}));
    EXPECT_TRUE(helper.getIsGetAllOnuKnown());
}

TEST_F(PONCardLinkListTest, ALinkInBothListsEndsOnlineAndStandsOnce) {
    EXPECT_TRUE(refresh("00 0e 00 00 00 0f e9 00 00 0a 00 0f e9 00 00 0b",
                        "00 08 00 00 00 0f e9 00 00 0a"));
    EXPECT_EQ(links(), listOf({{.mac = kA, .online = "1"}, {.mac = kB}}));
}

TEST_F(FullPONCardLinkListTest, DiscoveriesOfInventedOnusMake512Links) {
    discoverTooMany();
    EXPECT_EQ(linkCount(), 512U);
    EXPECT_NE(links().find("00:0f:e9:00:01:ff"), std::string::npos);
    EXPECT_EQ(links().find("00:0f:e9:00:02:00"), std::string::npos);
}

TEST_F(FullPONCardLinkListTest, AListWithALinkMoreIsPrintedAndTheOthersStay) {
    discoverTooMany();
    EXPECT_EQ(textPrintedBy([this] {
                  EXPECT_TRUE(refresh("00 0e 00 00 " + macOf(512) + " " + macOf(3), "00 02 00 00"));
              }),
              "doGetAllOnuKnown - ONU not found: 00:0f:e9:00:02:00");
    EXPECT_EQ(linkCount(), 512U);
}

TEST_F(PONCardLinkListTest, AListIsTakenByItsPositionAndNotByItsId) {
    transport.expect("00 76 00 01 00 00")
        .deliverInsideSend("00 76 00 01 00 08 00 00 00 0f e9 00 00 0a")
        .deliver("00 76 00 01 00 08 00 00 00 0f e9 00 00 0a");
    transport.expect("00 44 00 02 00 00").deliver("00 44 00 02 00 08 00 00 00 0f e9 00 00 0b");
    EXPECT_TRUE(helper.doGetAllOnuKnown(false));
    EXPECT_EQ(links(), listOf({{.mac = kA, .online = "1"}}));
}

TEST_F(PONCardLinkListTest, ALinkThatIsOnlyKnownNowGoesOfflineAndStaysReported) {
    discoverAndProvision({"0a"});  // uses up the ctags 1 to 6
    transport.expect("00 76 00 07 00 00").deliver("00 76 00 07 00 08 00 00 00 0f e9 00 00 0a");
    transport.expect("00 44 00 08 00 00").deliver("00 44 00 08 00 02 00 00");
    EXPECT_TRUE(helper.doGetAllOnuKnown(false));
    EXPECT_EQ(links(),
              listOf({{.etherUp = "1", .isGigabit = "1", .ponPort = "1", .reported = "1"}}));
}

TEST_F(PONCardLinkListTest, LinksThatTheCardNoLongerListsStayAsTheyAre) {
    discover("0c");
    EXPECT_TRUE(refresh("00 02 00 00", "00 02 00 00"));
    EXPECT_EQ(links(), listOf({{.mac = kC, .online = "1", .ponPort = "1"}}));
}

TEST_F(PONCardLinkListTest, AClearedListHoldsWhatTheCardListsAlone) {
    discover("0c");
    EXPECT_TRUE(refresh("00 08 00 00 00 0f e9 00 00 0a", "00 02 00 00", true));
    EXPECT_EQ(links(), listOf({{.mac = kA}}));
}

TEST_F(PONCardLinkListTest, AListIsClearedOnlyWhenTheCardHasAnswered) {
    discover("0c");
    transport.expect("00 76 00 01 00 00").deliver("00 76 00 01 00 02 00 00");
    transport.expect("00 44 00 02 00 00").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetAllOnuKnown(true)); }), kNoAnswer);
    EXPECT_EQ(links(), listOf({{.mac = kC, .online = "1", .ponPort = "1"}}));
}

TEST_F(PONCardLinkListTest, AFailedRefreshLeavesTheLinksUnknown) {
    EXPECT_TRUE(refresh("00 02 00 00", "00 02 00 00"));
    transport.expect("00 76 00 03 00 00").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetAllOnuKnown(false)); }), kNoAnswer);
    EXPECT_FALSE(helper.getIsGetAllOnuKnown());
}

TEST_F(PONCardLinkListTest, AnswersWithoutLinksAreARefreshAllTheSame) {
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(refresh("00 02 00 00", "00 02 00 00")); }), "");
    EXPECT_TRUE(helper.getIsGetAllOnuKnown());
    EXPECT_EQ(links(), listOf({}));
}

TEST_F(PONCardLinkListTest, AMissingRecordIsPassedOver) {
    // the known links are not answered, so that the discovered ones stand in their place
    transport.expect("00 76 00 01 00 00").silent();
    transport.expect("00 44 00 02 00 00").deliver("00 44 00 02 00 08 00 00 00 0f e9 00 00 0b");
    endNextWaitBySurprise();
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(helper.doGetAllOnuKnown(false)); }), "");
    EXPECT_EQ(links(), listOf({{.mac = kB}}));
}

TEST_F(PONCardLinkListTest, AsManyLinksAsAnAnswerCanCarryAreListedInTheirOrder) {
    constexpr int kMost = 248;
    std::string list = "05 d2 00 00";  // 248 addresses and the result
    std::vector<OnuRecord> expected;
    for (int i = 0; i < kMost; i++) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(i));
        list += std::string(" 00 0f e9 00 01 ") + digits;
        expected.push_back({.mac = std::string("00:0f:e9:00:01:") + digits, .online = "1"});
    }
    EXPECT_TRUE(refresh(list, list));
    EXPECT_EQ(links(), listOf(expected));
}

TEST_F(PONCardLinkListTest, ARefreshThatFailsOtherwiseIsPrintedUnderItsName) {
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.doGetAllOnuKnown(false);
              }),
              "Unknown Error at doGetAllOnuKnown\n");
}

TEST(PONCardRefreshWithoutMemoryTest, TakesNoLinkInServiceOfflineWhereverMemoryIsMissing) {
    bool failed = true;
    std::string last;
    for (int spared = 0; failed; spared++) {
        CardOfOneRefresh card;
        failed = card.refreshWithout(spared);
        last = card.linksNow();
        EXPECT_THAT(last, testing::Not(testing::HasSubstr(R"("online_status":"0")"))) << spared;
    }
    EXPECT_THAT(last, testing::HasSubstr(kB));
}

// --- doGetOnuInformation ---

TEST_F(PONCardOnuInformationTest, TheUpstreamPortIsTheLinksPort) {
    EXPECT_TRUE(ask(kInformation));
    EXPECT_EQ(link.getPonPort(), "0");
}

TEST_F(PONCardOnuInformationTest, ARefusalIsAnAnswerThatLeavesThePortUnknown) {
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(ask("00 02 00 05")); }), "");
    EXPECT_EQ(link.getPonPort(), "-");
}

TEST_F(PONCardOnuInformationTest, ARefusalWithInformationLeavesThePortUnknown) {
    EXPECT_TRUE(
        ask("00 1c 00 05 00 0f e9 00 00 0a 00 12 00 0f e9 37 15 00 11 00 01 01 00 01 00 00"
            " 00 00 00 00"));
    EXPECT_EQ(link.getPonPort(), "-");
}

TEST_F(PONCardOnuInformationTest, AnAnswerOfLengthEightHasNoPortAndIsAFailure) {
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(ask("00 08 00 00 00 0f e9 00 00 0a")); }),
              "getValue[#]: Key 'info_upstream_epon_port' not found\n");
    EXPECT_EQ(link.getPonPort(), "-");
}

TEST_F(PONCardOnuInformationTest, AnExchangeWithoutARecordIsAFailure) {
    transport.expect("01 6b 00 01 00 06 00 0f e9 00 00 0a").silent();
    endNextWaitBySurprise();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetOnuInformation(&link)); }),
              "doGetOnuInformation[#]: Container can't be null\n");
}

TEST_F(PONCardOnuInformationTest, AnyOtherFailureIsPrintedUnderTheOperation) {
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.doGetOnuInformation(&link);
              }),
              "Unknown Error at doGetOnuInformation\n");
}

// --- doGetAllOnuInformation ---

TEST_F(PONCardLinkListTest, OnlyOnlineLinksWithoutAPortAreAskedForTheirInformation) {
    discover("0c");  // has its port from the discovery
    refresh("00 08 00 00 00 0f e9 00 00 0a", "00 0e 00 00 00 0f e9 00 00 0b 00 0f e9 00 00 0c");
    transport.expect("01 6b 00 03 00 06 00 0f e9 00 00 0b")
        .deliver(
            "01 6b 00 03 00 1c 00 00 00 0f e9 00 00 0b 00 12 00 0f e9 37 15 00 11 00 01 01 00"
            " 01 00 00 00 00 00 00");
    EXPECT_TRUE(helper.doGetAllOnuInformation());
    EXPECT_EQ(links(), listOf({{.mac = kC, .online = "1", .ponPort = "1"},
                               {.mac = kA},
                               {.mac = kB, .online = "1", .ponPort = "0"}}));
}

TEST_F(PONCardLinkListTest, ALinkThatFailsToAnswerDoesNotEndTheQuestions) {
    refresh("00 02 00 00", "00 0e 00 00 00 0f e9 00 00 0a 00 0f e9 00 00 0b");
    transport.expect("01 6b 00 03 00 06 00 0f e9 00 00 0a").failToSend();
    transport.expect("01 6b 00 04 00 06 00 0f e9 00 00 0b").deliver("01 6b 00 04 00 02 00 05");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.doGetAllOnuInformation()); }), kNoAnswer);
}

TEST_F(PONCardLinkListTest, ALinkThatWasRefusedIsAskedAgain) {
    refresh("00 02 00 00", "00 08 00 00 00 0f e9 00 00 0a");
    transport.expect("01 6b 00 03 00 06 00 0f e9 00 00 0a").deliver("01 6b 00 03 00 02 00 05");
    transport.expect("01 6b 00 04 00 06 00 0f e9 00 00 0a")
        .deliver(std::string("01 6b 00 04 ") + kInformation);
    EXPECT_TRUE(helper.doGetAllOnuInformation());
    EXPECT_TRUE(helper.doGetAllOnuInformation());
    EXPECT_TRUE(helper.doGetAllOnuInformation());
}

// --- leaving the list ---

TEST_F(PONCardLinkListTest, OfflineLinksAreClearedOnTheCardAndRemovedWithoutAReport) {
    refresh("00 0e 00 00 00 0f e9 00 00 0a 00 0f e9 00 00 0c", "00 08 00 00 00 0f e9 00 00 0b");
    transport.expect("00 77 00 03 00 06 00 0f e9 00 00 0a").accept();
    transport.expect("00 77 00 04 00 06 00 0f e9 00 00 0c").accept();
    EXPECT_TRUE(helper.removeAllOfflineOnu());
    EXPECT_EQ(links(), listOf({{.mac = kB, .online = "1"}}));
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardLinkListTest, ALinkThatTheCardRefusesToClearIsRemovedAllTheSame) {
    refresh("00 0e 00 00 00 0f e9 00 00 0a 00 0f e9 00 00 0b", "00 02 00 00");
    transport.expect("00 77 00 03 00 06 00 0f e9 00 00 0a").deliver("00 77 00 03 00 02 00 05");
    transport.expect("00 77 00 04 00 06 00 0f e9 00 00 0b").accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.removeAllOfflineOnu()); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <119>\n");
    EXPECT_EQ(links(), listOf({}));
}

TEST_F(PONCardLinkListTest, AllLinksAreClearedOnTheCardAndTheListEmptied) {
    refresh("00 08 00 00 00 0f e9 00 00 0a", "00 08 00 00 00 0f e9 00 00 0b");
    transport.expect("00 77 00 03 00 06 00 0f e9 00 00 0a").failToSend();
    transport.expect("00 77 00 04 00 06 00 0f e9 00 00 0b").accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.clearAllLogicalLink()); }), kNoAnswer);
    EXPECT_EQ(links(), listOf({}));
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardLinkListTest, ALinkRemovedByItsAddressLeavesTheOthersAndSendsNothing) {
    for (const char* last : {"0a", "0b", "0c"}) {
        discover(last);
    }
    helper.removeMacFromOnuList(kB);
    EXPECT_EQ(links(), listOf({{.mac = kA, .online = "1", .ponPort = "1"},
                               {.mac = kC, .online = "1", .ponPort = "1"}}));
    EXPECT_TRUE(transport.getSent().empty());
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardLinkListTest, RemovingAnUnknownAddressChangesNothing) {
    discover("0a");
    EXPECT_EQ(textPrintedBy([this] {
                  helper.removeMacFromOnuList("00:0F:E9:00:00:0A");
                  helper.removeMacFromOnuList("");
              }),
              "");
    EXPECT_EQ(links(), listOf({{.mac = kA, .online = "1", .ponPort = "1"}}));
}

TEST_F(PONCardLinkListTest, TheListCanBeEmptiedWithoutTheCard) {
    discover("0a");
    helper.clearAllOnuLink();
    EXPECT_EQ(links(), listOf({}));
    EXPECT_TRUE(transport.getSent().empty());
}

}  // namespace ponmgr::test
