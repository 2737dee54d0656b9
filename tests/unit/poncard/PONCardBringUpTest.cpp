// Identification, storage, domains, switching and reset. The marker and the report have files of
// their own.

#include "PONCardFixture.h"
#include "SurpriseWake.h"
#include "poncard/PONCardHelper.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kNoAnswer = "sendRequestMessage[#]: Impossible to send messages to card\n";

class PONCardBringUpTest : public PONCardFixture {
protected:
    /// Answers the next question for the storage, whose ctag this is.
    bool askStorage(const std::string& ctag, const std::string& answer) {
        transport.expect("01 2d " + ctag + " 00 00").deliver("01 2d " + ctag + " " + answer);
        return helper.doRequestNVSEnabled();
    }
    bool askDomains(const std::string& ctag, const std::string& answer) {
        transport.expect("01 7d " + ctag + " 00 00").deliver("01 7d " + ctag + " " + answer);
        return helper.requestHasDomain();
    }
};

class SilentBringUpTest : public SilentCardFixture {};

/// Every operation that sends, with the name it goes by in the log.
struct Operation {
    const char* name;
    bool (PONCardHelper::*run)();
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

class SendingOperationTest : public PONCardFixture,
                             public testing::WithParamInterface<Operation> {};

}  // namespace

// --- identification ---

TEST_F(PONCardBringUpTest, TheCardIsAskedWhoItIsWithoutData) {
    transport.expect("00 07 00 01 00 00").deliver(oltInformation());
    EXPECT_TRUE(helper.doRequestOltEponMac());
}

TEST_F(PONCardBringUpTest, ACardOfTheKnownProductHasItsMacAddressTaken) {
    transport.expect("00 07 00 01 00 00").deliver(oltInformation());
    helper.doRequestOltEponMac();
    EXPECT_TRUE(helper.hasOltMacAddress());
    EXPECT_EQ(report(),
              Texts{oltReport(
                  {.appVersion = "0102", .macAddress = "00:0d:b6:01:02:03", .onlineStatus = "1"})});
}

TEST_F(PONCardBringUpTest, ACardOfAnotherProductStaysUnidentifiedButIsReportedOnline) {
    transport.expect("00 07 00 01 00 00").deliver(oltInformation("00 01", "37 24"));
    EXPECT_TRUE(helper.doRequestOltEponMac());
    EXPECT_FALSE(helper.hasOltMacAddress());
    EXPECT_EQ(report(), Texts{oltReport({.onlineStatus = "1"})});
}

TEST_F(PONCardBringUpTest, ACardOfAnotherProductLosesTheMacAddressOfTheOneBeforeButNotItsVersion) {
    identify();
    transport.expect("00 07 00 02 00 00").deliver(oltInformation("00 02", "37 24"));
    EXPECT_TRUE(helper.doRequestOltEponMac());
    EXPECT_EQ(report(), Texts{oltReport({.appVersion = "0102", .onlineStatus = "1"})});
}

TEST_F(PONCardBringUpTest, AnExchangeWithoutARecordClearsTheMacAddressAndCountsAsOnline) {
    identify();
    helper.doReportOLTModule();
    takeNotifications();
    transport.expect("00 07 00 02 00 00").silent();
    endNextWaitBySurprise();
    EXPECT_TRUE(helper.doRequestOltEponMac());
    EXPECT_FALSE(helper.hasOltMacAddress());
    EXPECT_EQ(report(), Texts{oltReport({.appVersion = "0102", .onlineStatus = "1"})});
}

TEST_F(PONCardBringUpTest, AnIdentifiedCardIsReportedAgainEvenWhenNothingHasChanged) {
    identify();
    helper.doReportOLTModule();
    takeNotifications();
    transport.expect("00 07 00 02 00 00").deliver(oltInformation("00 02"));
    helper.doRequestOltEponMac();
    EXPECT_EQ(report().size(), 1U);
}

TEST_F(PONCardBringUpTest, AnIdentificationThatCannotBeSentChangesNothing) {
    identify();
    helper.doReportOLTModule();
    takeNotifications();
    transport.expect("00 07 00 02 00 00").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestOltEponMac()); }), kNoAnswer);
    EXPECT_TRUE(helper.hasOltMacAddress());
    EXPECT_EQ(report(), Texts{});
}

TEST_F(PONCardBringUpTest, AnIdentificationThatBreaksOffKeepsTheMacAddress) {
    identify();
    // breaks off inside the OUI; the parsing belongs to the sending, the clearing comes after it
    transport.expect("00 07 00 02 00 00")
        .deliver("00 07 00 02 00 0b 00 00 00 0d b6 01 02 03 00 00 00");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestOltEponMac()); }),
              "parseGet_OLT_Information[#]: Impossible to parse offset=8, length=3\n");
    EXPECT_TRUE(helper.hasOltMacAddress());
}

TEST_F(SilentBringUpTest, ACardThatDoesNotAnswerIsNotIdentifiedAndStaysOffline) {
    expectUnanswered("00 07 00 01 00 00");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestOltEponMac()); }), kNoAnswer);
    EXPECT_FALSE(helper.hasOltMacAddress());
    EXPECT_EQ(report(), Texts{oltReport({})});
}

// --- storage ---

TEST_F(PONCardBringUpTest, AStorageThatIsOnIsNoted) {
    EXPECT_TRUE(askStorage("00 01", "00 04 00 00 00 01"));
    EXPECT_TRUE(helper.getNVSEnabled());
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardBringUpTest, AStorageThatIsOffIsNotedWhateverComesAfterTheNextBoot) {
    askStorage("00 01", "00 04 00 00 01 01");
    EXPECT_TRUE(askStorage("00 02", "00 04 00 00 01 00"));
    EXPECT_FALSE(helper.getNVSEnabled());
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardBringUpTest, OnlyExactlyOneMeansOn) {
    askStorage("00 01", "00 04 00 00 01 01");
    EXPECT_TRUE(askStorage("00 02", "00 04 00 00 00 02"));
    EXPECT_FALSE(helper.getNVSEnabled());
}

TEST_F(PONCardBringUpTest, ACardWithoutStorageHasItOff) {
    askStorage("00 01", "00 04 00 00 01 01");
    EXPECT_TRUE(askStorage("00 02", "00 02 00 01"));
    EXPECT_FALSE(helper.getNVSEnabled());
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardBringUpTest, AnExchangeWithoutARecordKeepsTheStoragesValueAndCountsAsAsked) {
    askStorage("00 01", "00 04 00 00 01 01");
    transport.expect("01 2d 00 02 00 00").silent();
    endNextWaitBySurprise();
    EXPECT_TRUE(helper.doRequestNVSEnabled());
    EXPECT_TRUE(helper.getNVSEnabled());
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardBringUpTest, AFailedQuestionForTheStorageHasToBeAskedAgain) {
    askStorage("00 01", "00 04 00 00 01 01");
    transport.expect("01 2d 00 02 00 00").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doRequestNVSEnabled()); }), kNoAnswer);
    EXPECT_FALSE(helper.getIsGetNVSEnabled());
    EXPECT_TRUE(helper.getNVSEnabled());
}

TEST_F(PONCardBringUpTest, AnAnswerThatIsTooShortForTheStorageIsAFailure) {
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(askStorage("00 01", "00 03 00 00 01")); }),
              "parseGet_NVS_Enabled[#]: Invalid NVS Enabled payload\n");
    EXPECT_FALSE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardBringUpTest, TheStorageIsSwitchedOffByAZero) {
    transport.expect("01 2e 00 01 00 01 00").accept();
    EXPECT_TRUE(helper.doSetNVSDisabled());
}

TEST_F(PONCardBringUpTest, SwitchingTheStorageOffDoesNotChangeWhatIsKnownOfIt) {
    askStorage("00 01", "00 04 00 00 01 01");
    transport.expect("01 2e 00 02 00 01 00").accept();
    helper.doSetNVSDisabled();
    EXPECT_TRUE(helper.getNVSEnabled());
    EXPECT_TRUE(helper.getIsGetNVSEnabled());
}

TEST_F(PONCardBringUpTest, ACardThatRefusesToSwitchItsStorageOffFailsTheOperation) {
    transport.expect("01 2e 00 01 00 01 00").deliver("01 2e 00 01 00 02 00 01");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doSetNVSDisabled()); }),
              "parseCheckResultOk[#]: Unsupported Message ID <302>\n");
}

// --- domains ---

TEST_F(PONCardBringUpTest, ACardWithoutDomainsAnswersAndThatIsEnough) {
    EXPECT_TRUE(askDomains("00 01", "00 06 00 00 00 00 00 00"));
    EXPECT_TRUE(helper.getHasDomain());
}

TEST_F(PONCardBringUpTest, ACardWithADomainHasIt) {
    EXPECT_TRUE(askDomains("00 01", "00 06 00 00 04 02 00 01"));
    EXPECT_TRUE(helper.getHasDomain());
}

TEST_F(PONCardBringUpTest, ACardWithSeveralDomainsHasThemThoughItsRecordIsNotRead) {
    EXPECT_TRUE(askDomains("00 01", "00 08 00 00 04 02 00 01 00 02"));
    EXPECT_TRUE(helper.getHasDomain());
}

TEST_F(PONCardBringUpTest, AnExchangeWithoutARecordLeavesTheDomainsAsTheyWere) {
    transport.expect("01 7d 00 01 00 00").silent();
    endNextWaitBySurprise();
    EXPECT_TRUE(helper.requestHasDomain());
    EXPECT_FALSE(helper.getHasDomain());
}

TEST_F(PONCardBringUpTest, AnAnswerThatBreaksOffLeavesTheDomainsMissing) {
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(askDomains("00 01", "00 03 00 00 04")); }),
              "parseGet_All_Domains[#]: Impossible to parse offset=0, length=2\n");
    EXPECT_FALSE(helper.getHasDomain());
}

TEST_F(SilentBringUpTest, ACardThatDoesNotAnswerHasNoDomains) {
    expectUnanswered("01 7d 00 01 00 00");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.requestHasDomain()); }), kNoAnswer);
    EXPECT_FALSE(helper.getHasDomain());
}

TEST_F(PONCardBringUpTest, AFailedQuestionForTheDomainsNeverTakesThemAway) {
    helper.setHasDomain(true);
    transport.expect("01 7d 00 01 00 00").failToSend();
    EXPECT_FALSE(helper.requestHasDomain());
    EXPECT_TRUE(helper.getHasDomain());
}

// --- switching and reset ---

TEST_F(PONCardBringUpTest, TheCardIsSwitchedOffWithoutData) {
    transport.expect("00 09 00 01 00 00").accept();
    EXPECT_TRUE(helper.doDisableOLT());
}

TEST_F(PONCardBringUpTest, TheCardIsSwitchedOnWithoutData) {
    transport.expect("00 08 00 01 00 00").accept();
    EXPECT_TRUE(helper.doEnableOLT());
}

TEST_F(PONCardBringUpTest, ACardThatAcceptsLaterHasAccepted) {
    transport.expect("00 08 00 01 00 00").deliver("00 08 00 01 00 02 00 04");
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(helper.doEnableOLT()); }), "");
}

TEST_F(PONCardBringUpTest, ACardThatRefusesToBeSwitchedFailsTheOperation) {
    transport.expect("00 09 00 01 00 00").deliver("00 09 00 01 00 02 00 03");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doDisableOLT()); }),
              "parseCheckResultOk[#]: Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <9>\n");
}

TEST_F(PONCardBringUpTest, AResetThatIsAnsweredPrintsThatTheAnswerIsNotHandled) {
    transport.expect("00 06 00 01 00 00").accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doResetOLT()); }),
              "parseMessage[#]: Response Message ID (6) not handled\n");
}

TEST_F(SilentBringUpTest, AResetThatIsNotAnsweredPrintsThatTheCardIsSilent) {
    expectUnanswered("00 06 00 01 00 00");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doResetOLT()); }), kNoAnswer);
}

TEST_F(PONCardBringUpTest, AResetForgetsNothing) {
    identify();
    helper.setHasDomain(true);
    transport.expect("00 06 00 02 00 00").accept();
    linesPrintedBy([this] { helper.doResetOLT(); });
    EXPECT_TRUE(helper.hasOltMacAddress());
    EXPECT_TRUE(helper.getHasDomain());
}

// --- failures of every operation ---

TEST_P(SendingOperationTest, AFailureOfTheExchangeIsPrintedByItsText) {
    helper.setOltIpAddress("");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE((helper.*GetParam().run)()); }),
              "sendRequestMessage[#]: Client ip address empty to slot 3\n");
}

TEST_P(SendingOperationTest, AnyOtherFailureIsPrintedUnderTheOperationsName) {
    bool answer = true;
    EXPECT_EQ(textPrintedBy([this, &answer] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  answer = (helper.*GetParam().run)();
              }),
              std::string("Unknown Error at ") + GetParam().name + "\n");
    EXPECT_FALSE(answer);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, SendingOperationTest,
    testing::Values(Operation{"doRequestOltEponMac", &PONCardHelper::doRequestOltEponMac},
                    Operation{"doRequestNVSEnabled", &PONCardHelper::doRequestNVSEnabled},
                    Operation{"doSetNVSDisabled", &PONCardHelper::doSetNVSDisabled},
                    Operation{"doRequestCtcMode", &PONCardHelper::doRequestCtcMode},
                    Operation{"doSetEnCtcMode", &PONCardHelper::doSetEnCtcMode},
                    Operation{"requestHasDomain", &PONCardHelper::requestHasDomain},
                    Operation{"doDisableOLT", &PONCardHelper::doDisableOLT},
                    Operation{"doEnableOLT", &PONCardHelper::doEnableOLT},
                    Operation{"doResetOLT", &PONCardHelper::doResetOLT}),
    [](const auto& operation) { return std::string(operation.param.name); });

}  // namespace ponmgr::test
