// The steps of the configuration, each by itself. Their order is tested with the main loop.

#include <ostream>

#include "PONCardFixture.h"
#include "SurpriseWake.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

/// A step, and the one datagram that it sends to the card of the fixture.
struct Setting {
    const char* test;
    const char* operation;
    bool (*run)(PONCardHelper& card);
    const char* datagram;
    int id;
};

void PrintTo(const Setting& setting, std::ostream* stream) {
    *stream << setting.test;
}

class PONCardSettingTest : public PONCardFixture, public testing::WithParamInterface<Setting> {
protected:
    PONCardSettingTest() { identify(); }
    bool run() { return GetParam().run(helper); }
};

class PONCardPathTest : public PONCardFixture {
protected:
    /// Answers the first question for all paths; `answer` is what follows the ctag.
    void expectPaths(const std::string& answer) {
        transport.expect("01 79 00 01 00 00").deliver("01 79 00 01 " + answer);
    }
};

constexpr const char* kEightPaths[] = {
    "01 78 00 01 00 0e 20 00 00 01 00 01 00 20 00 02 00 01 00 20",
    "01 78 00 02 00 0e 20 02 00 01 00 01 00 20 00 03 00 01 00 20",
    "01 78 00 03 00 0e 20 04 00 00 00 01 00 20 00 03 00 01 00 20",
    "01 78 00 04 00 0e 20 06 00 00 00 01 00 20 00 02 00 01 00 20",
    "01 78 00 05 00 0e 20 08 00 00 00 01 00 20 00 00 00 01 00 20",
    "01 78 00 06 00 0e 20 0a 00 00 00 01 00 20 00 02 00 01 00 20",
    "01 78 00 07 00 0e 20 0c 00 01 00 01 00 20 00 01 00 01 00 20",
    "01 78 00 08 00 0e 20 0e 00 01 00 01 00 20 00 03 00 01 00 20",
};

}  // namespace

TEST_P(PONCardSettingTest, ItsBytesAreSentInOneExchange) {
    transport.expect(GetParam().datagram).accept();
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(run()); }), "");
}

TEST_P(PONCardSettingTest, ARefusalIsPrintedAndMakesItFalse) {
    transport.expect(GetParam().datagram)
        .deliver(std::string(GetParam().datagram).substr(0, 11) + " 00 02 00 05");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(run()); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <" +
                  std::to_string(GetParam().id) + ">\n");
}

TEST_P(PONCardSettingTest, AFailureToSendIsPrintedAndMakesItFalse) {
    transport.expect(GetParam().datagram).failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(run()); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n");
}

TEST_P(PONCardSettingTest, AnyOtherFailureIsPrintedUnderItsName) {
    bool answer = true;
    EXPECT_EQ(textPrintedBy([this, &answer] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  answer = run();
              }),
              std::string("Unknown Error at ") + GetParam().operation + "\n");
    EXPECT_FALSE(answer);
}

#define PONMGR_SETTING(test, operation, arguments, datagram, id)                                  \
    Setting {                                                                                     \
        test, #operation, [](PONCardHelper& card) { return card.operation arguments; }, datagram, \
            id                                                                                    \
    }

INSTANTIATE_TEST_SUITE_P(
    PortSteps, PONCardSettingTest,
    testing::Values(
        PONMGR_SETTING("DbaBandwidth0", doSetDBAAggregateBandwidth, (0),
                       "01 9c 00 02 00 0f 00 0d b6 01 02 03 00 00 00 00 00 00 00 00 00", 412),
        PONMGR_SETTING("DbaBandwidth1", doSetDBAAggregateBandwidth, (1),
                       "01 9c 00 02 00 0f 00 0d b6 01 02 03 00 01 00 00 00 00 00 00 00", 412),
        PONMGR_SETTING("Bandwidth0", doSetAggregateBandwidth, (0),
                       "01 73 00 02 00 0f 00 0d b6 01 02 03 00 00 00 00 00 00 00 00 00", 371),
        PONMGR_SETTING("Bandwidth1", doSetAggregateBandwidth, (1),
                       "01 73 00 02 00 0f 00 0d b6 01 02 03 00 01 00 00 00 00 00 00 00", 371),
        PONMGR_SETTING("Encryption0", doSetEncryptionModeDefault, (0),
                       "01 89 00 02 00 0b 00 0d b6 01 02 03 00 00 00 00 00", 393),
        PONMGR_SETTING("Encryption1", doSetEncryptionModeDefault, (1),
                       "01 89 00 02 00 0b 00 0d b6 01 02 03 00 01 00 00 00", 393),
        PONMGR_SETTING("AllowedLinks0", doClearAllAllowedLinks, (0),
                       "01 26 00 02 00 08 00 0d b6 01 02 03 00 00", 294),
        PONMGR_SETTING("AllowedLinks1", doClearAllAllowedLinks, (1),
                       "01 26 00 02 00 08 00 0d b6 01 02 03 00 01", 294),
        PONMGR_SETTING("Polling0", doSetDBAPollingIntervalHighResolution, (0),
                       "01 63 00 02 00 0a 00 0d b6 01 02 03 00 00 00 05", 355),
        PONMGR_SETTING("Polling1", doSetDBAPollingIntervalHighResolution, (1),
                       "01 63 00 02 00 0a 00 0d b6 01 02 03 00 01 00 05", 355),
        PONMGR_SETTING("LoopTiming0", doSetEPONLoopTiming, (0),
                       "01 67 00 02 00 10 00 0d b6 01 02 03 00 00 00 00 1a 5e 0c 35 00 00", 359),
        PONMGR_SETTING("LoopTiming1", doSetEPONLoopTiming, (1),
                       "01 67 00 02 00 10 00 0d b6 01 02 03 00 01 00 00 1a 5e 0c 35 00 00", 359),
        PONMGR_SETTING("SyncTime0", doSetEPONSyncTime, (0),
                       "02 20 00 02 00 0a 00 0d b6 01 02 03 00 00 00 10", 544),
        PONMGR_SETTING("SyncTime1", doSetEPONSyncTime, (1),
                       "02 20 00 02 00 0a 00 0d b6 01 02 03 00 01 00 10", 544)),
    [](const auto& setting) { return std::string(setting.param.test); });

INSTANTIATE_TEST_SUITE_P(
    CardSteps, PONCardSettingTest,
    testing::Values(
        PONMGR_SETTING("OamRate", doSetDefaultOAMRate, (), "00 01 00 02 00 03 01 14 01", 1),
        PONMGR_SETTING("Bridging", doSetOLTBridgingConfiguration, (),
                       "00 50 00 02 00 0a 00 05 00 00 00 18 01 01 00 01", 80),
        PONMGR_SETTING("BridgingAdvanced", doSetEnBridgeAdvanced, (),
                       "00 50 00 02 00 0a 00 00 00 00 00 ff 01 01 00 01", 80),
        PONMGR_SETTING("Path", doSetPath, (0x0102, 0x0304, 0x0506, 0x0708),
                       "01 78 00 02 00 0e 01 02 03 04 00 01 07 08 05 06 00 01 07 08", 376),
        PONMGR_SETTING("MulticastGlobal", doSetOLTIPMulticastGlobalProvisioning, (),
                       "01 4f 00 02 00 08 10 00 00 0f 42 40 00 00", 335),
        PONMGR_SETTING("DomainVersion2", doSetDomainVersion2, (),
                       "02 25 00 02 00 20 04 02 00 00 10 10 10 02 00 00 02 00 02 00 06 02 20 04"
                       " 20 06 00 00 02 00 04 00 08 02 20 00 20 02",
                       549),
        PONMGR_SETTING("DomainRules", doSetDomainRules, (0x0102, 0x0304),
                       "01 93 00 02 00 2d 04 02 00 01 00 00 01 01 02 01 03 04 01 0a 03 03 02 00 00"
                       " 09 04 00 00 00 00 0b 04 00 00 00 00 01 01 00 00 00 00 00 00 00 00 00 00"
                       " 07 00",
                       403),
        PONMGR_SETTING("MulticastProxy", doSetOLTIPMulticastDomainProxyProvisioning, (),
                       "01 51 00 02 00 46 04 02 00 00 00 03 00 00 00 03 00 00 00 00 00 0f 42 40"
                       " 00 00 27 10 03 e8 00 00 00 02 02 58 02 44 00 37 00 02 03 20 00 02 00 6e"
                       " 00 0a 00 00 03 e8 00 00 c0 a8 65 02"
                       " fe 80 00 00 00 00 00 00 00 00 00 00 00 00 00 01",
                       337),
        PONMGR_SETTING("MulticastHostCopy", doSetOLTIPMulticastHostCopy, (),
                       "01 5d 00 02 00 11 04 02 00 06 00 06 00 06 06 07 06 06 06 06 06 06 00",
                       349)),
    [](const auto& setting) { return std::string(setting.param.test); });

#undef PONMGR_SETTING

// --- the eight paths ---

TEST_F(PONCardPathTest, EightPathsAreSetInEightExchanges) {
    for (const char* path : kEightPaths) {
        transport.expect(path).accept();
    }
    EXPECT_TRUE(helper.doSetAllPaths());
}

TEST_F(PONCardPathTest, APathThatIsRefusedIsPrintedAndTheOthersAreSet) {
    for (std::size_t i = 0; i < std::size(kEightPaths); i++) {
        auto& step = transport.expect(kEightPaths[i]);
        if (i == 0) {
            step.deliver("01 78 00 01 00 02 00 03");
        } else {
            step.accept();
        }
    }
    EXPECT_EQ(
        linesPrintedBy([this] { EXPECT_TRUE(helper.doSetAllPaths()); }),
        "parseCheckResultOk[#]: Error Return Code(PARAM_OUT_OF_RANGE) from Message ID <376>\n");
}

// --- deleting paths ---

TEST_F(PONCardPathTest, APathIsDeletedTogetherWithItsSuccessorInOneExchange) {
    transport.expect("01 83 00 01 00 04 00 09 00 00").accept();
    transport.expect("01 83 00 02 00 04 00 0a 00 00").accept();
    EXPECT_TRUE(helper.doAllDeletePath(9));
}

TEST_F(PONCardPathTest, TheSuccessorIsLeftWhenTheFirstIsNotAnswered) {
    transport.expect("01 83 00 01 00 04 00 09 00 00").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doAllDeletePath(9)); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n");
}

TEST_F(PONCardPathTest, TheSuccessorIsDeletedWhenTheFirstIsRefused) {
    transport.expect("01 83 00 01 00 04 00 09 00 00").deliver("01 83 00 01 00 02 00 05");
    transport.expect("01 83 00 02 00 04 00 0a 00 00").accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doAllDeletePath(9)); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <387>\n");
}

TEST_F(PONCardPathTest, ADeletionThatFailsOtherwiseIsPrintedUnderItsName) {
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.doAllDeletePath(9);
              }),
              "Unknown Error at doAllDeletePath\n");
}

// --- unused paths ---

TEST_F(PONCardPathTest, OnlyUnusedPathsOfTheUsersRangeAreDeleted) {
    expectPaths("00 12 00 00 00 08 00 00 00 09 00 02 1f ff 00 03 20 00 00 00");
    transport.expect("01 83 00 02 00 04 00 09 00 00").accept();
    transport.expect("01 83 00 03 00 04 00 0a 00 00").accept();
    EXPECT_TRUE(helper.clearAllUnusedPaths());
}

TEST_F(PONCardPathTest, TheOtherSidesOfTheLimitsAreJudgedTheOtherWay) {
    // 0, 65535 and 9 with three users stay; 8191 with two and 10 with none go
    expectPaths("00 16 00 00 00 00 00 00 ff ff 00 00 00 09 00 03 1f ff 00 02 00 0a 00 00");
    transport.expect("01 83 00 02 00 04 1f ff 00 00").accept();
    transport.expect("01 83 00 03 00 04 20 00 00 00").accept();
    transport.expect("01 83 00 04 00 04 00 0a 00 00").accept();
    transport.expect("01 83 00 05 00 04 00 0b 00 00").accept();
    EXPECT_TRUE(helper.clearAllUnusedPaths());
}

TEST_F(PONCardPathTest, AnyNumberOfUsersAboveTwoKeepsAPath) {
    expectPaths("00 0e 00 00 00 10 00 03 00 11 80 00 00 12 ff ff");
    EXPECT_TRUE(helper.clearAllUnusedPaths());
}

TEST_F(PONCardPathTest, ADeletionThatIsRefusedDoesNotEndTheOthers) {
    expectPaths("00 0a 00 00 00 09 00 00 00 20 00 01");
    transport.expect("01 83 00 02 00 04 00 09 00 00").failToSend();
    transport.expect("01 83 00 04 00 04 00 20 00 00").accept();
    transport.expect("01 83 00 05 00 04 00 21 00 00").accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.clearAllUnusedPaths()); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n");
}

TEST_F(PONCardPathTest, ACardWithoutPathsHasNothingDeleted) {
    expectPaths("00 02 00 00");
    EXPECT_TRUE(helper.clearAllUnusedPaths());
}

TEST_F(PONCardPathTest, AnExchangeWithoutARecordHasNothingDeleted) {
    transport.expect("01 79 00 01 00 00").silent();
    endNextWaitBySurprise();
    EXPECT_TRUE(helper.clearAllUnusedPaths());
}

TEST_F(PONCardPathTest, AQuestionForThePathsThatFailsIsPrintedAndDeletesNothing) {
    transport.expect("01 79 00 01 00 00").failToSend();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.clearAllUnusedPaths()); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n");
}

TEST_F(PONCardPathTest, AQuestionForThePathsThatFailsOtherwiseIsPrintedUnderItsName) {
    bool answer = true;
    EXPECT_EQ(textPrintedBy([this, &answer] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  answer = helper.clearAllUnusedPaths();
              }),
              "Unknown Error at clearAllUnusedPaths\n");
    EXPECT_FALSE(answer);
}

}  // namespace ponmgr::test
