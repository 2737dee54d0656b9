#include <arpa/inet.h>

#include <memory>

#include "PONCardFixture.h"
#include "SurpriseWake.h"
#include "poncard/PONCardHelper.h"
#include "support/ThrownBy.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kAllOnuOffline =
    R"({"action":"set","uri":"/onu/set/all/offline","data":{"id":"0","slot_id":"3"}})";

class PONCardHelperTest : public PONCardFixture {
protected:
    /// A card with everything known that can be: identified, storage on, marked, with domains.
    void learnEverything() {
        identify();
        transport.expect("01 2d 00 02 00 00").deliver("01 2d 00 02 00 04 00 00 01 01");
        helper.doRequestNVSEnabled();
        transport.expect("01 b3 00 03 00 0f 08 00 0d b6 01 02 03 01 00 02 00 03 00 04 00")
            .deliver("01 b3 00 03 00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 01");
        helper.doRequestCtcMode();
        helper.setHasDomain(true);
        ASSERT_TRUE(helper.getIsGetNVSEnabled());
        ASSERT_TRUE(helper.getNVSEnabled());
        ASSERT_TRUE(helper.getIsOnCtcMode());
    }
};

}  // namespace

TEST_F(PONCardHelperTest, NothingIsKnownOfANewCard) {
    EXPECT_FALSE(helper.hasOltMacAddress());
    EXPECT_FALSE(helper.getIsOnCtcMode());
    EXPECT_FALSE(helper.getIsGetAllOnuKnown());
    EXPECT_FALSE(helper.getIsGetNVSEnabled());
    EXPECT_FALSE(helper.getNVSEnabled());
    EXPECT_FALSE(helper.getHasDomain());
}

TEST_F(PONCardHelperTest, StartGivesTheRecordItsSlot) {
    PONCardHelper other;
    other.start(&transport, "8");
    other.doReportOLTModule();
    EXPECT_EQ(takeNotifications(), Texts{oltReport({.slotId = "8"})});
}

TEST_F(PONCardHelperTest, StartJoinsTheSharedSocketAndTheEndLeavesIt) {
    EXPECT_EQ(transport.getReceiverCount(), 1U);
    {
        PONCardHelper other;
        other.start(&transport, "4");
        EXPECT_EQ(transport.getReceiverCount(), 2U);
    }
    EXPECT_EQ(transport.getReceiverCount(), 1U);
}

TEST_F(PONCardHelperTest, RequestsGoToTheAddressThatWasSetLast) {
    helper.setOltIpAddress("127.0.1.7");
    transport.expect("00 08 00 01 00 00").accept();
    helper.doEnableOLT();
    ASSERT_EQ(transport.getSent().size(), 1U);
    const sockaddr_in destination = transport.getSent()[0].destination;
    EXPECT_EQ(destination.sin_family, AF_INET);
    EXPECT_STREQ(inet_ntoa(destination.sin_addr), "127.0.1.7");
    EXPECT_EQ(ntohs(destination.sin_port), 14113);
}

TEST_F(PONCardHelperTest, AnEmptyAddressClearsTheOneThatWasSet) {
    helper.setOltIpAddress("");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doEnableOLT()); }),
              "sendRequestMessage[#]: Client ip address empty to slot 3\n");
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardHelperTest, SendRequestMessageItselfLetsTheFailureOut) {
    helper.setOltIpAddress("");
    EXPECT_EQ(messageThrownBy([this] { helper.sendRequestMessage(); }),
              "Client ip address empty to slot 3");
}

TEST_F(PONCardHelperTest, ClearEmptiesTheRequests) {
    transport.expect("00 08 00 01 00 00").accept();
    helper.doEnableOLT();
    helper.clear();
    helper.sendRequestMessage();
    EXPECT_EQ(transport.getSent().size(), 1U);
}

TEST_F(PONCardHelperTest, AnOperationSendsNothingThatAnEarlierOneLeftBehind) {
    transport.expect("00 08 00 01 00 00").failToSend();
    helper.doEnableOLT();
    transport.expect("00 09 00 02 00 00").accept();
    EXPECT_TRUE(helper.doDisableOLT());
    EXPECT_EQ(transport.getSent().size(), 2U);
}

TEST_F(PONCardHelperTest, AnOldAnswerIsNotTakenForANewOne) {
    identify();
    // an exchange that ends without a record: were the identification's still there, it would be
    // read instead
    transport.expect("01 2d 00 02 00 00").silent();
    endNextWaitBySurprise();
    EXPECT_TRUE(helper.doRequestNVSEnabled());
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardHelperTest, EveryRequestHasACtagOfItsOwn) {
    transport.expect("00 08 00 01 00 00").accept();
    transport.expect("00 08 00 02 00 00").accept();
    transport.expect("00 09 00 03 00 00").accept();
    helper.doEnableOLT();
    helper.doEnableOLT();
    helper.doDisableOLT();
}

TEST_F(PONCardHelperTest, AnEventDuringAnExchangeIsNoAnswer) {
    transport.expect("00 08 00 01 00 00")
        .deliverInsideSend("80 1a 00 01 00 04 00 00 00 01")
        .deliver("00 08 00 01 00 02 00 00");
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(helper.doEnableOLT()); }), "");
}

TEST_F(PONCardHelperTest, ClearAllOLTAlarmLeavesTheExchangeAlone) {
    transport.expect("00 08 00 01 00 00").accept();
    helper.doEnableOLT();
    helper.clearAllOLTAlarm();
    transport.expect("00 08 00 01 00 00").accept();
    helper.sendRequestMessage();  // the request is still there
}

TEST_F(PONCardHelperTest, SetHasDomainSetsAndClears) {
    helper.setHasDomain(true);
    EXPECT_TRUE(helper.getHasDomain());
    helper.setHasDomain(false);
    EXPECT_FALSE(helper.getHasDomain());
}

// --- setInitialState ---

TEST_F(PONCardHelperTest, TheInitialStateForgetsTheMacAddress) {
    learnEverything();
    helper.setInitialState();
    EXPECT_FALSE(helper.hasOltMacAddress());
}

TEST_F(PONCardHelperTest, TheInitialStateHasAllFlagsFalse) {
    learnEverything();
    helper.setInitialState();
    EXPECT_FALSE(helper.getIsOnCtcMode());
    EXPECT_FALSE(helper.getIsGetAllOnuKnown());
    EXPECT_FALSE(helper.getIsGetNVSEnabled());
    EXPECT_FALSE(helper.getHasDomain());
}

TEST_F(PONCardHelperTest, TheInitialStateReportsTheOnusOffline) {
    helper.setInitialState();
    EXPECT_EQ(takeNotifications(), Texts{kAllOnuOffline});
}

TEST_F(PONCardHelperTest, TheInitialStateEmptiesTheRequests) {
    transport.expect("00 08 00 01 00 00").accept();
    helper.doEnableOLT();
    helper.setInitialState();
    helper.sendRequestMessage();
    EXPECT_EQ(transport.getSent().size(), 1U);
}

TEST_F(PONCardHelperTest, TheInitialStateSendsNothingToTheCard) {
    helper.setInitialState();
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardHelperTest, TheInitialStateKeepsWhatElseTheRecordHolds) {
    learnEverything();
    helper.setInitialState();
    takeNotifications();
    EXPECT_TRUE(helper.getNVSEnabled());
    EXPECT_EQ(report(),
              Texts{oltReport({.appVersion = "0102", .nvsEnabled = "1", .onlineStatus = "1"})});
}

TEST_F(PONCardHelperTest, TheInitialStateDoesNotHaveTheCardReportedAgain) {
    helper.doReportOLTModule();
    helper.setInitialState();
    takeNotifications();
    EXPECT_EQ(report(), Texts{});
}

TEST_F(PONCardHelperTest, TheInitialStateKeepsTheCardsAddress) {
    helper.setInitialState();
    transport.expect("00 08 00 01 00 00").accept();
    EXPECT_TRUE(helper.doEnableOLT());
}

// --- doRecheckConfiguration ---

TEST_F(PONCardHelperTest, ARecheckHasTheMarkersAskedAgain) {
    learnEverything();
    helper.doRecheckConfiguration();
    EXPECT_FALSE(helper.getIsOnCtcMode());
    EXPECT_FALSE(helper.getIsGetAllOnuKnown());
    EXPECT_FALSE(helper.getHasDomain());
}

TEST_F(PONCardHelperTest, ARecheckDoesNotAskForTheStorageAgain) {
    learnEverything();
    helper.doRecheckConfiguration();
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
    EXPECT_TRUE(helper.getNVSEnabled());
}

TEST_F(PONCardHelperTest, ARecheckKeepsTheMacAddress) {
    learnEverything();
    helper.doRecheckConfiguration();
    EXPECT_TRUE(helper.hasOltMacAddress());
}

TEST_F(PONCardHelperTest, ARecheckItselfSendsAndReportsNothing) {
    learnEverything();
    const std::size_t sent = transport.getSent().size();
    helper.doRecheckConfiguration();
    EXPECT_EQ(transport.getSent().size(), sent);
    EXPECT_EQ(takeNotifications(), Texts{});
}

}  // namespace ponmgr::test
