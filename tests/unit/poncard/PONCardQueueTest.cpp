// How the queues of links that are not provisioned are learned.

#include "PONCardLinkFixture.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

constexpr const char* kA = "00:0f:e9:00:00:0a";
constexpr const char* kB = "00:0f:e9:00:00:0b";
constexpr const char* kNoAnswer = "sendRequestMessage[#]: Impossible to send messages to card\n";

class PONCardQueueTest : public PONCardLinkFixture {};

}  // namespace

TEST_F(PONCardQueueTest, WithoutLinksNothingIsSent) {
    EXPECT_TRUE(helper.doGetAllOnuQueue());
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardQueueTest, WithEveryLinkProvisionedNothingIsSent) {
    discoverAndProvision({"0a", "0b"});
    EXPECT_EQ(sentBy([this] { EXPECT_TRUE(helper.doGetAllOnuQueue()); }), Texts{});
}

TEST_F(PONCardQueueTest, AllLinksThatAreNotProvisionedAreAskedForInOneExchange) {
    discover("0a");
    discover("0b");
    transport.expect("01 84 00 01 00 06 00 0f e9 00 00 0a")
        .deliver(
            "01 84 00 01 00 17 00 00 00 0f e9 00 00 0b 01 00 40 21 01 00 01 31 01 00 02 41 01"
            " 00 03");
    transport.expect("01 84 00 02 00 06 00 0f e9 00 00 0b")
        .deliver(
            "01 84 00 02 00 17 00 00 00 0f e9 00 00 0a 01 00 40 2a 0f 00 01 3a 0f 00 02 4a 0f"
            " 00 03");
    EXPECT_TRUE(helper.doGetAllOnuQueue());
    // by the address in the answer, not by its position
    EXPECT_EQ(links(), listOf({{.mac = kA,
                                .downstreamQueue = "2a0f",
                                .upstreamQueue = "3a0f",
                                .multicastQueue = "4a0f",
                                .online = "1",
                                .ponPort = "1"},
                               {.mac = kB,
                                .downstreamQueue = "2101",
                                .upstreamQueue = "3101",
                                .multicastQueue = "4101",
                                .online = "1",
                                .ponPort = "1"}}));
}

TEST_F(PONCardQueueTest, OfflineLinksAreAskedForAsWell) {
    transport.expect("00 76 00 01 00 00").deliver("00 76 00 01 00 08 00 00 00 0f e9 00 00 0a");
    transport.expect("00 44 00 02 00 00").accept();
    helper.doGetAllOnuKnown(false);
    transport.expect("01 84 00 03 00 06 00 0f e9 00 00 0a").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetAllOnuQueue()); }), kNoAnswer);
}

TEST_F(PONCardQueueTest, AnAnswerForAnUnknownLinkIsPrintedWithoutALineEndAndTheOthersTaken) {
    discover("0a");
    discover("0b");
    transport.expect("01 84 00 01 00 06 00 0f e9 00 00 0a")
        .deliver(
            "01 84 00 01 00 17 00 00 00 0f e9 00 00 ff 01 00 40 21 01 00 01 31 01 00 02 41 01"
            " 00 03");
    transport.expect("01 84 00 02 00 06 00 0f e9 00 00 0b")
        .deliver(
            "01 84 00 02 00 17 00 00 00 0f e9 00 00 0b 01 00 40 21 01 00 01 31 01 00 02 41 01"
            " 00 03");
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(helper.doGetAllOnuQueue()); }),
              "doGetAllOnuQueue - ONU not found: 00:0f:e9:00:00:ff");
    EXPECT_EQ(links(), listOf({{.mac = kA, .online = "1", .ponPort = "1"},
                               {.mac = kB,
                                .downstreamQueue = "2101",
                                .upstreamQueue = "3101",
                                .multicastQueue = "4101",
                                .online = "1",
                                .ponPort = "1"}}));
}

TEST_F(PONCardQueueTest, OneBadAnswerLosesAllOfTheExchange) {
    discover("0a");
    discover("0b");
    transport.expect("01 84 00 01 00 06 00 0f e9 00 00 0a")
        .deliver(
            "01 84 00 01 00 17 00 00 00 0f e9 00 00 0a 01 00 40 21 01 00 01 31 01 00 02 41 01"
            " 00 03");
    transport.expect("01 84 00 02 00 06 00 0f e9 00 00 0b")
        .deliver(
            "01 84 00 02 00 16 00 00 00 0f e9 00 00 0b 01 00 40 21 01 00 01 31 01 00 02 41 01"
            " 00");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetAllOnuQueue()); }),
              "parseGet_OLT_Bridging_Mode[#]: Impossible to parse offset=19, length=2\n");
    EXPECT_EQ(links(), listOf({{.mac = kA, .online = "1", .ponPort = "1"},
                               {.mac = kB, .online = "1", .ponPort = "1"}}));
}

TEST_F(PONCardQueueTest, AFailureOtherwiseIsPrintedUnderTheOperation) {
    discover("0a");
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.doGetAllOnuQueue();
              }),
              "Unknown Error at doGetAllOnuQueue\n");
}

}  // namespace ponmgr::test
