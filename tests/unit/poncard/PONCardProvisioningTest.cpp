// How ONU links are provisioned and reported.

#include "PONCardLinkFixture.h"
#include "unit/model/LimitedJsonMemory.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

constexpr const char* kA = "00:0f:e9:00:00:0a";
constexpr const char* kB = "00:0f:e9:00:00:0b";
constexpr const char* kC = "00:0f:e9:00:00:0c";
constexpr const char* kQueueIsFull = "addNotification[#]: Too many notifications wait\n";

// What is sent for one link; ctags 1 to 6. The queues are 2101, 3101 and 4101.
constexpr const char* kEnable = "01 81 00 01 00 06 00 0f e9 00 00 0a";
constexpr const char* kLinkService =
    "01 8d 00 02 00 22 00 0f e9 00 00 0a 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10"
    " 01 02 00 00 00 00 00 00 00 00";
constexpr const char* kDownstreamService =
    "01 80 00 03 00 16 21 01 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10";
constexpr const char* kUpstreamService =
    "01 80 00 04 00 16 31 01 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10";
constexpr const char* kEthernetUp =
    "01 2b 00 06 00 10 00 0f e9 00 00 0a 80 01 01 00 00 01 01 01 01 01";

/// A link that is not in the list, with its queues known.
class PONCardOneLinkTest : public PONCardLinkFixture {
protected:
    PONCardOneLinkTest() {
        link.setDownstreamQueue("2101");
        link.setUpstreamQueue("3101");
        link.setMultiCastQueue("4101");
        link.setStatusReported(true);
    }

    template <typename Call>
    static std::string printedWithoutMemory(Call&& call) {
        return textPrintedBy([&call] {
            const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
            call();
        });
    }

    OnuLink link{kA};
};

class PONCardProvisioningTest : public PONCardLinkFixture {
protected:
    /// The answer of the card to the first question for the queues of the first link.
    void learnQueues() {
        transport.expect("01 84 00 01 00 06 00 0f e9 00 00 0a")
            .deliver(
                "01 84 00 01 00 17 00 00 00 0f e9 00 00 0a 01 00 40 21 01 00 07 31 01 00 08"
                " 41 01 00 09");
        ASSERT_TRUE(helper.doGetAllOnuQueue());
    }
};

const OnuRecord kProvisionedA{
    .mac = kA, .etherUp = "1", .isGigabit = "1", .online = "1", .ponPort = "1"};
const OnuRecord kProvisionedB{
    .mac = kB, .etherUp = "1", .isGigabit = "1", .online = "1", .ponPort = "1"};

/// The last that is heard of a link that an alarm took off-line.
OnuRecord goneBy(const std::string& mac, const std::string& alarm) {
    return {.mac = mac, .alarmMessage = alarm, .isGigabit = "1", .ponPort = "1"};
}

}  // namespace

// --- one link ---

TEST_F(PONCardOneLinkTest, ALinkIsEnabledByItsAddress) {
    transport.expect(kEnable).accept();
    EXPECT_TRUE(helper.doSetEnableLink(&link));
}

TEST_F(PONCardOneLinkTest, LinkAndQueuesGetTheirServiceLevelsInOneExchange) {
    transport.expect("00 08 00 01 00 00").accept();  // uses up the first ctag
    helper.doEnableOLT();
    transport.expect(kLinkService).accept();
    transport.expect(kDownstreamService).accept();
    transport.expect(kUpstreamService).accept();
    EXPECT_TRUE(helper.doSetOnuGigabit(&link));
    EXPECT_TRUE(link.getIsGigabit());
    EXPECT_FALSE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, AServiceLevelThatIsRefusedLeavesTheLinkUnprovisioned) {
    transport.expect("00 08 00 01 00 00").accept();
    helper.doEnableOLT();
    transport.expect(kLinkService).accept();
    transport.expect(kDownstreamService).accept();
    transport.expect(kUpstreamService).deliver("01 80 00 04 00 02 00 05");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doSetOnuGigabit(&link)); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <384>\n");
    EXPECT_FALSE(link.getIsGigabit());
    EXPECT_TRUE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, TheMulticastQueueHasAnExchangeOfItsOwn) {
    transport
        .expect(
            "01 80 00 01 00 16 41 01 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8"
            " 02 00 10")
        .accept();
    EXPECT_TRUE(helper.doSetMulticastOnuGigabit(&link));
    EXPECT_FALSE(link.getIsGigabit());
    EXPECT_TRUE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, AnEthernetPortThatComesUpIsReportedAgain) {
    transport.expect("01 2b 00 01 00 10 00 0f e9 00 00 0a 80 01 01 00 00 01 01 01 01 01").accept();
    EXPECT_TRUE(helper.doSetEthernetToUpStatus(&link));
    EXPECT_TRUE(link.getEthernetUpStatus());
    EXPECT_FALSE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, AnEthernetPortThatIsRefusedCountsAsUpAndTheOperationAsFailed) {
    transport.expect("01 2b 00 01 00 10 00 0f e9 00 00 0a 80 01 01 00 00 01 01 01 01 01")
        .deliver("01 2b 00 01 00 02 00 03");
    EXPECT_EQ(
        linesPrintedBy([this] { EXPECT_FALSE(helper.doSetEthernetToUpStatus(&link)); }),
        "parseCheckResultOk[#]: Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <299>\n");
    EXPECT_TRUE(link.getEthernetUpStatus());
    EXPECT_FALSE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, AnEthernetPortThatFailsOtherwiseCountsAsUpAsWell) {
    bool answer = true;
    EXPECT_EQ(printedWithoutMemory([&] { answer = helper.doSetEthernetToUpStatus(&link); }),
              "Unknown Error at doSetEthernetToUpStatus\n");
    EXPECT_FALSE(answer);
    EXPECT_TRUE(link.getEthernetUpStatus());
    EXPECT_FALSE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, EveryOperationPrintsAnUnknownFailureUnderItsName) {
    EXPECT_EQ(printedWithoutMemory([&] { helper.doSetEnableLink(&link); }),
              "Unknown Error at doSetEnableLink\n");
    EXPECT_EQ(printedWithoutMemory([&] { helper.doSetOnuGigabit(&link); }),
              "Unknown Error at doSetOnuGigabit\n");
    EXPECT_EQ(printedWithoutMemory([&] { helper.doSetMulticastOnuGigabit(&link); }),
              "Unknown Error at doSetMulticastOnuGigabit\n");
    EXPECT_EQ(printedWithoutMemory([&] { helper.doReportOnu(&link); }),
              "Unknown Error at doReportOnu\n");
    EXPECT_FALSE(link.getIsGigabit());
}

TEST_F(PONCardOneLinkTest, AReportCarriesTheRecordAndMarksItReported) {
    link.setStatusReported(false);
    helper.doReportOnu(&link);
    EXPECT_EQ(takeNotifications(), Texts{onuReport({.downstreamQueue = "2101",
                                                    .upstreamQueue = "3101",
                                                    .multicastQueue = "4101",
                                                    .slotId = ""})});
    EXPECT_TRUE(link.getStatusReported());
}

TEST_F(PONCardOneLinkTest, AReportThatFailsLeavesTheRecordUnreported) {
    link.setStatusReported(false);
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  helper.doReportOnu(&link);
              }),
              "createObject[#]: Impossible to allocate memory\n");
    EXPECT_FALSE(link.getStatusReported());
    EXPECT_EQ(takeNotifications(), Texts{});
}

// --- the pass over all links ---

TEST_F(PONCardProvisioningTest, ANewLinkIsProvisionedAndReportedOnce) {
    discover("0a");
    learnQueues();
    transport.expect("01 81 00 02 00 06 00 0f e9 00 00 0a").accept();
    transport
        .expect(
            "01 8d 00 03 00 22 00 0f e9 00 00 0a 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8"
            " 02 00 10 01 02 00 00 00 00 00 00 00 00")
        .accept();
    for (const char* queue : {"00 04 00 16 21 01", "00 05 00 16 31 01", "00 06 00 16 41 01"}) {
        // the queue's index is 0, whatever the card said
        transport
            .expect(std::string("01 80 ") + queue +
                    " 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10")
            .accept();
    }
    transport.expect("01 2b 00 07 00 10 00 0f e9 00 00 0a 80 01 01 00 00 01 01 01 01 01").accept();
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), Texts{onuReport({.downstreamQueue = "2101",
                                                    .upstreamQueue = "3101",
                                                    .multicastQueue = "4101",
                                                    .etherUp = "1",
                                                    .isGigabit = "1",
                                                    .online = "1",
                                                    .ponPort = "1"})});
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardProvisioningTest, ALinkWithoutQueuesIsProvisionedWithEmptyEndpoints) {
    discover("0a");
    transport.acceptTheRest();
    EXPECT_EQ(
        sentBy([this] { helper.doSetAllOnuGigabit(); }),
        (Texts{kEnable, kLinkService,
               "01 80 00 03 00 14 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10",
               "01 80 00 04 00 14 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10",
               "01 80 00 05 00 14 00 00 00 00 00 00 ff ff ff ff ff 00 0f 42 40 00 c8 02 00 10",
               kEthernetUp}));
}

TEST_F(PONCardProvisioningTest, AnEnableThatFailsDoesNotStopTheServiceLevels) {
    discover("0a");
    transport.expect(kEnable).deliver("01 81 00 01 00 02 00 05");
    transport.acceptTheRest();
    EXPECT_EQ(linesPrintedBy([this] { helper.doSetAllOnuGigabit(); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <385>\n");
    EXPECT_EQ(transport.getSent().size(), 6U);
    EXPECT_EQ(takeNotifications(), Texts{onuReport(kProvisionedA)});
}

TEST_F(PONCardProvisioningTest, ServiceLevelsThatFailAreTriedAgainInTheNextPass) {
    discover("0a");
    transport.expect(kEnable).accept();
    transport.expect(kLinkService).deliver("01 8d 00 02 00 02 00 05");
    transport.acceptTheRest();
    linesPrintedBy([this] { helper.doSetAllOnuGigabit(); });
    OnuRecord unprovisioned = kProvisionedA;
    unprovisioned.isGigabit = "0";
    EXPECT_EQ(takeNotifications(), Texts{onuReport(unprovisioned)});
    const Texts again = sentBy([this] { helper.doSetAllOnuGigabit(); });
    ASSERT_EQ(again.size(), 5U);  // all but the Ethernet port
    EXPECT_EQ(again[0], "01 81 00 07 00 06 00 0f e9 00 00 0a");
    EXPECT_EQ(takeNotifications(), Texts{onuReport(kProvisionedA)});
}

TEST_F(PONCardProvisioningTest, AnEthernetPortThatFailsIsReportedInTheSamePassAndNotTriedAgain) {
    discover("0a");
    transport.answerTheRest([](const Bytes& request) {
        Bytes answer = ScriptedTransport::acceptanceOf(request);
        answer.back() = request[0] == 0x01 && request[1] == 0x2b ? 5 : 0;
        return std::vector<Bytes>{answer};
    });
    EXPECT_EQ(linesPrintedBy([this] { helper.doSetAllOnuGigabit(); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <299>\n");
    EXPECT_EQ(takeNotifications(), Texts{onuReport(kProvisionedA)});
    EXPECT_EQ(sentBy([this] { helper.doSetAllOnuGigabit(); }), Texts{});
}

TEST_F(PONCardProvisioningTest, AnOfflineLinkIsProvisionedWithoutItsEthernetPort) {
    discover("0a");
    emit(linkAlarm("0a", "17", "01"));
    helper.handleAlarms();
    transport.acceptTheRest();
    EXPECT_EQ(sentBy([this] { helper.doSetAllOnuGigabit(); }).size(), 5U);
    EXPECT_EQ(takeNotifications(), Texts{onuReport(goneBy(kA, "Report Timeout"))});
    EXPECT_EQ(links(), listOf({}));
}

TEST_F(PONCardProvisioningTest, AdjacentOfflineLinksAtTheFrontAreReportedAndRemoved) {
    discoverAndProvision({"0a", "0b", "0c"});
    emit(linkAlarm("0a", "17", "01"));
    emit(linkAlarm("0b", "40", "01"));
    helper.handleAlarms();
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), (Texts{onuReport(goneBy(kA, "Report Timeout")),
                                          onuReport(goneBy(kB, "Standard Dying Gasp"))}));
    OnuRecord rest = kProvisionedA;
    rest.mac = kC;
    rest.reported = "1";
    EXPECT_EQ(links(), listOf({rest}));
}

TEST_F(PONCardProvisioningTest, AdjacentOfflineLinksAtTheEndAreReportedAndRemoved) {
    discoverAndProvision({"0a", "0b", "0c"});
    emit(linkAlarm("0b", "17", "01"));
    emit(linkAlarm("0c", "17", "01"));
    helper.handleAlarms();
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), (Texts{onuReport(goneBy(kB, "Report Timeout")),
                                          onuReport(goneBy(kC, "Report Timeout"))}));
    OnuRecord rest = kProvisionedA;
    rest.reported = "1";
    EXPECT_EQ(links(), listOf({rest}));
}

TEST_F(PONCardProvisioningTest, TheLinkBehindARemovedOneIsVisitedInTheSamePass) {
    discoverAndProvision({"0a"});
    emit(linkAlarm("0a", "17", "01"));
    helper.handleAlarms();
    discover("0b");
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(),
              (Texts{onuReport(goneBy(kA, "Report Timeout")), onuReport(kProvisionedB)}));
}

TEST_F(PONCardProvisioningTest, ALinkThatARefreshFindsOfflineIsNeitherReportedNorRemoved) {
    discoverAndProvision({"0a"});
    transport.expect("00 76 00 07 00 00").deliver("00 76 00 07 00 08 00 00 00 0f e9 00 00 0a");
    transport.expect("00 44 00 08 00 00").deliver("00 44 00 08 00 02 00 00");
    helper.doGetAllOnuKnown(false);
    EXPECT_EQ(sentBy([this] { helper.doSetAllOnuGigabit(); }), Texts{});
    EXPECT_EQ(takeNotifications(), Texts{});
    EXPECT_EQ(links(),
              listOf({{.etherUp = "1", .isGigabit = "1", .ponPort = "1", .reported = "1"}}));
}

TEST_F(PONCardProvisioningTest, AnOnlineLinkWhoseReportFailsIsReportedInTheNextPass) {
    discover("0a");
    transport.acceptTheRest();
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  helper.doSetAllOnuGigabit();
              }),
              "createObject[#]: Impossible to allocate memory\n");
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), Texts{onuReport(kProvisionedA)});
}

// --- while the database manager reads nothing ---

TEST_F(PONCardProvisioningTest, AnOnlineLinkThatIsRefusedByAFullQueueIsReportedInTheNextPass) {
    discover("0a");
    transport.acceptTheRest();
    fillNotifications();
    EXPECT_EQ(linesPrintedBy([this] { helper.doSetAllOnuGigabit(); }), kQueueIsFull);
    takeNotifications();
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), Texts{onuReport(kProvisionedA)});
}

TEST_F(PONCardProvisioningTest, ALinkThatLeavesWhileTheQueueIsFullIsGoneAndItsLeavingIsLost) {
    discoverAndProvision({"0a"});
    emit(linkAlarm("0a", "17", "01"));
    helper.handleAlarms();
    fillNotifications();
    EXPECT_EQ(linesPrintedBy([this] { helper.doSetAllOnuGigabit(); }), kQueueIsFull);
    takeNotifications();
    EXPECT_EQ(links(), listOf({}));
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardProvisioningTest, ThatAllLinksLeftWhileTheQueueIsFullIsLostUntilItIsSaidAnew) {
    discoverAndProvision({"0a"});
    helper.doReportOLTModule();
    fillNotifications();
    EXPECT_EQ(linesPrintedBy([this] { helper.setInitialState(); }), kQueueIsFull);
    takeNotifications();
    EXPECT_EQ(links(), listOf({}));
    helper.doReportOLTModule();
    helper.doSetAllOnuGigabit();
    EXPECT_EQ(takeNotifications(), Texts{});
    helper.setInitialState();
    EXPECT_EQ(takeNotifications(),
              Texts{R"({"action":"set","uri":"/onu/set/all/offline","data":{"id":"0",)"
                    R"("slot_id":"3"}})"});
}

}  // namespace ponmgr::test
