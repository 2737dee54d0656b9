// Optical levels: of one ONU, of all ONUs, and of the card's own ports.

#include "PONCardLinkFixture.h"
#include "SurpriseWake.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

constexpr const char* kA = "00:0f:e9:00:00:0a";
constexpr const char* kNoAnswer = "sendRequestMessage[#]: Impossible to send messages to card\n";

class OnuOpticsTest : public PONCardLinkFixture {
protected:
    /// Asks for one link; `answer` is what follows the ctag.
    bool ask(const std::string& ctag, const std::string& answer) {
        transport.expect("02 49 " + ctag + " 00 06 00 0f e9 00 00 0a")
            .deliver("02 49 " + ctag + " " + answer);
        return helper.doGetOnuOpticsPower(&link);
    }

    OnuLink link{kA};
};

// 25 degrees, 3.3 V, 10 mA, in -30 dBm, out 0 dBm
constexpr const char* kLevels = "00 12 00 00 00 0f e9 00 00 0a 19 00 80 e8 13 88 00 0a 27 10";

/// The readings of one port in the card's report.
struct PortRow {
    std::string temperature = "-";
    std::string bias = "-";
    std::string power = "-";
    std::string voltage = "-";
};

class OltOpticsTest : public PONCardLinkFixture {
protected:
    OltOpticsTest() {
        identify();
        report();
    }

    /// Answers the question for port 0 with this ctag; `answer` is what follows the ctag.
    bool ask(const std::string& ctag, const std::string& answer) {
        transport.expect("01 38 " + ctag + " 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04")
            .deliver("01 38 " + ctag + " " + answer);
        return helper.doGetOltOpticsPower(0);
    }

    static std::string reportWith(const PortRow& first, const PortRow& second = {}) {
        return R"({"action":"set","uri":"/olt/new","data":{"app_version":"0102","id":"0",)"
               R"("mac_address":"00:0d:b6:01:02:03","nvs_enabled":"0","online_status":"1",)"
               R"("slot_id":"3","status_reported":"0","module_olt_table":[)" +
               rowText(first) + "," + rowText(second) + "]}}";
    }

private:
    static std::string rowText(const PortRow& row) {
        return R"({"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",)"
               R"("ucOpticModuleOltTemperature":")" +
               row.temperature + R"(","ucOpticModuleOltTxBias":")" + row.bias +
               R"(","ucOpticModuleOltTxPower":")" + row.power + R"(","ucOpticModuleOltVcc":")" +
               row.voltage + R"("})";
    }
};

// Elements 4 (0 dBm), 5 (3.3 V), 6 (10 mA) and 7 (25 degrees).
constexpr const char* kStatistics =
    "00 3b 00 00 05 00 0d b6 01 02 03 00 00"
    " 00 0b 04 00 00 00 00 00 00 00 27 10"
    " 00 0b 05 00 00 00 00 00 00 00 80 e8"
    " 00 0b 06 00 00 00 00 00 00 00 13 88"
    " 00 0b 07 00 00 00 00 00 00 00 19 00";
const PortRow kRow{.temperature = "25.00", .bias = "10.00", .power = "0.00", .voltage = "3.30"};

/// One statistic alone: element and value.
std::string statistic(const std::string& element, const std::string& value) {
    return "00 17 00 00 05 00 0d b6 01 02 03 00 00 00 0b " + element + " 00 " + value;
}

}  // namespace

// --- one ONU ---

TEST_F(OnuOpticsTest, EachReadingIsConvertedAndStored) {
    EXPECT_TRUE(ask("00 01", kLevels));
    EXPECT_EQ(link.getTemperature(), "25.00");
    EXPECT_EQ(link.getSupplyVoltage(), "3.30");
    EXPECT_EQ(link.getTxBiasCurrent(), "10.00");
    EXPECT_EQ(link.getTxPowerInput(), "-30.00");
    EXPECT_EQ(link.getTxPowerOutput(), "0.00");
}

TEST_F(OnuOpticsTest, ReadingsOfZeroStayZeroButPowerIsConverted) {
    EXPECT_TRUE(ask("00 01", "00 12 00 00 00 0f e9 00 00 0a 00 00 00 00 00 00 00 00 00 00"));
    EXPECT_EQ(link.getTemperature(), "0");
    EXPECT_EQ(link.getSupplyVoltage(), "0");
    EXPECT_EQ(link.getTxBiasCurrent(), "0");
    EXPECT_EQ(link.getTxPowerInput(), "-inf");
    EXPECT_EQ(link.getTxPowerOutput(), "-inf");
}

TEST_F(OnuOpticsTest, ATemperatureBelowZeroShowsAsALargeOne) {
    EXPECT_TRUE(ask("00 01", "00 12 00 00 00 0f e9 00 00 0a ff ff 80 e8 13 88 00 0a 27 10"));
    EXPECT_EQ(link.getTemperature(), "256.00");
}

TEST_F(OnuOpticsTest, TheSameReadingsAgainAreNoChange) {
    EXPECT_TRUE(ask("00 01", kLevels));
    EXPECT_FALSE(ask("00 02", kLevels));
}

TEST_F(OnuOpticsTest, OneOtherReadingIsAChange) {
    EXPECT_TRUE(ask("00 01", kLevels));
    EXPECT_TRUE(ask("00 02", "00 12 00 00 00 0f e9 00 00 0a 19 00 80 e8 13 88 00 0b 27 10"));
}

TEST_F(OnuOpticsTest, AChangeOfBeforeIsNotCountedAgain) {
    EXPECT_TRUE(ask("00 01", kLevels));
    link.setPonPort("1");
    EXPECT_FALSE(ask("00 02", kLevels));
}

TEST_F(OnuOpticsTest, ARefusalKeepsTheReadings) {
    EXPECT_TRUE(ask("00 01", kLevels));
    EXPECT_EQ(textPrintedBy([this] { EXPECT_FALSE(ask("00 02", "00 02 00 05")); }), "");
    EXPECT_FALSE(ask("00 03", "00 12 00 05 00 0f e9 00 00 0a 00 00 00 00 00 00 00 00 00 00"));
    EXPECT_EQ(link.getTemperature(), "25.00");
}

TEST_F(OnuOpticsTest, AnAnswerWithoutReadingsIsAFailure) {
    EXPECT_EQ(
        linesPrintedBy([this] { EXPECT_FALSE(ask("00 01", "00 08 00 00 00 0f e9 00 00 0a")); }),
        "getValue[#]: Key 'transceiver_temperature' not found\n");
    EXPECT_EQ(link.getTemperature(), "-");
}

TEST_F(OnuOpticsTest, AnExchangeWithoutARecordIsAFailure) {
    transport.expect("02 49 00 01 00 06 00 0f e9 00 00 0a").silent();
    endNextWaitBySurprise();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetOnuOpticsPower(&link)); }),
              "doGetOnuOpticsPower[#]: Container can't be null\n");
}

TEST_F(OnuOpticsTest, AnyOtherFailureIsPrintedUnderTheOperation) {
    bool answer = true;
    EXPECT_EQ(textPrintedBy([&] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  answer = helper.doGetOnuOpticsPower(&link);
              }),
              "Unknown Error at doGetOnuOpticsPower\n");
    EXPECT_FALSE(answer);
}

// --- all ONUs ---

TEST_F(OnuOpticsTest, OnlyOnlineOnusAreAskedAndAChangedOneIsReported) {
    discoverAndProvision({"0a", "0b"});  // uses up the ctags 1 to 12
    emit(linkAlarm("0b", "17", "01"));
    helper.handleAlarms();
    transport.expect("02 49 00 0d 00 06 00 0f e9 00 00 0a")
        .deliver(std::string("02 49 00 0d ") + kLevels);
    EXPECT_TRUE(helper.doGetAllOnuOpticsPower());
    helper.removeMacFromOnuList("00:0f:e9:00:00:0b");
    helper.doSetAllOnuGigabit();
    const Texts reports = takeNotifications();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_NE(reports[0].find(R"("supply_voltage":"3.30","temperature":"25.00",)"
                              R"("tx_bias_current":"10.00","tx_power_input":"-30.00",)"
                              R"("tx_power_output":"0.00")"),
              std::string::npos)
        << reports[0];
}

TEST_F(OnuOpticsTest, AnOnuWithoutAChangeIsNotReported) {
    discoverAndProvision({"0a"});  // uses up the ctags 1 to 6
    for (const char* ctag : {"00 07", "00 08"}) {
        transport.expect(std::string("02 49 ") + ctag + " 00 06 00 0f e9 00 00 0a")
            .deliver(std::string("02 49 ") + ctag + " " + kLevels);
        takeNotifications();
        EXPECT_TRUE(helper.doGetAllOnuOpticsPower());
        helper.doSetAllOnuGigabit();
    }
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(OnuOpticsTest, AnOnuThatFailsDoesNotEndThePassOverTheOthers) {
    discover("0a");
    discover("0b");
    transport.expect("02 49 00 01 00 06 00 0f e9 00 00 0a").failToSend();
    transport.expect("02 49 00 02 00 06 00 0f e9 00 00 0b").deliver("02 49 00 02 00 02 00 05");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.doGetAllOnuOpticsPower()); }), kNoAnswer);
}

// --- the card's ports ---

TEST_F(OltOpticsTest, EachReadingIsConvertedAndReported) {
    EXPECT_TRUE(ask("00 02", kStatistics));
    EXPECT_EQ(report(), Texts{reportWith(kRow)});
}

TEST_F(OltOpticsTest, EveryPortHasItsOwnReadings) {
    transport.expect("01 38 00 02 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04")
        .deliver(std::string("01 38 00 02 ") + kStatistics);
    EXPECT_TRUE(helper.doGetOltOpticsPower(1));
    EXPECT_EQ(report(), Texts{reportWith({}, kRow)});
}

TEST_F(OltOpticsTest, AnElementThatIsMissingIsNoReading) {
    EXPECT_TRUE(ask("00 02", kStatistics));
    EXPECT_TRUE(ask("00 03", statistic("04", "00 00 00 00 00 00 00 0a")));
    EXPECT_EQ(report(), Texts{reportWith({.power = "-30.00"})});
}

TEST_F(OltOpticsTest, OfTwoReadingsOfOneElementTheLastCounts) {
    EXPECT_TRUE(ask("00 02",
                    "00 23 00 00 05 00 0d b6 01 02 03 00 00"
                    " 00 0b 07 00 00 00 00 00 00 00 19 00"
                    " ff ff 07 ff 00 00 00 00 00 00 1a 00"));
    EXPECT_EQ(report(), Texts{reportWith({.temperature = "26.00"})});
}

TEST_F(OltOpticsTest, OtherElementsAreIgnoredWhateverTheirValue) {
    EXPECT_TRUE(ask("00 02",
                    "00 2f 00 00 05 00 0d b6 01 02 03 00 00"
                    " 00 0b 03 00 ff ff ff ff ff ff ff ff"
                    " 00 0b 08 00 ff ff ff ff ff ff ff ff"
                    " 00 0b 05 00 00 00 00 00 00 00 80 e8"));
    EXPECT_EQ(report(), Texts{reportWith({.voltage = "3.30"})});
}

TEST_F(OltOpticsTest, TheLargestReadingIsConvertedAndCutToItsColumn) {
    EXPECT_TRUE(ask("00 02", statistic("06", "00 00 00 00 7f ff ff ff")));
    EXPECT_EQ(report(), Texts{reportWith({.bias = "4294967.2"})});
}

TEST_F(OltOpticsTest, AReadingBeyondThatIsAFailureThatKeepsTheReadings) {
    EXPECT_TRUE(ask("00 02", kStatistics));
    report();
    EXPECT_EQ(textPrintedBy([this] {
                  EXPECT_FALSE(ask("00 03", statistic("04", "00 00 00 00 80 00 00 00")));
              }),
              "Unknown Error at doGetOltOpticsPower\n");
    EXPECT_EQ(report(), Texts{});
    helper.setOLTOnlineStatus(false);
    helper.setOLTOnlineStatus(true);
    EXPECT_EQ(report(), Texts{reportWith(kRow)});
}

TEST_F(OltOpticsTest, ARefusalIsFalseAndReportsNothing) {
    EXPECT_EQ(textPrintedBy([this] { EXPECT_FALSE(ask("00 02", "00 02 00 05")); }), "");
    std::string refused = kStatistics;
    refused.replace(0, std::string("00 3b 00 00").size(), "00 3b 00 05");
    EXPECT_FALSE(ask("00 03", refused));
    EXPECT_EQ(report(), Texts{});
}

TEST_F(OltOpticsTest, AnAnswerWithoutStatisticsIsFalseAndReportsNothing) {
    EXPECT_EQ(textPrintedBy(
                  [this] { EXPECT_FALSE(ask("00 02", "00 0b 00 00 05 00 0d b6 01 02 03 00 00")); }),
              "");
    EXPECT_EQ(report(), Texts{});
}

TEST_F(OltOpticsTest, AnExchangeWithoutARecordIsAFailure) {
    transport.expect("01 38 00 02 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04").silent();
    endNextWaitBySurprise();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetOltOpticsPower(0)); }),
              "doGetOltOpticsPower[#]: Container can't be null\n");
}

TEST_F(OltOpticsTest, APortThatTheCardDoesNotHaveIsAFailure) {
    transport.expect("01 38 00 02 00 0d 05 00 0d b6 01 02 03 00 02 00 0b ff 04")
        .deliver(std::string("01 38 00 02 ") + kStatistics);
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doGetOltOpticsPower(2)); }),
              "getModuleOltTable[#]: PON (2) not found\n");
}

TEST_F(OltOpticsTest, BothPortsAreReadAndReported) {
    transport.expect("01 38 00 02 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04")
        .deliver("01 38 00 02 " + statistic("07", "00 00 00 00 00 00 19 00"));
    transport.expect("01 38 00 03 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04")
        .deliver("01 38 00 03 " + statistic("07", "00 00 00 00 00 00 1a 00"));
    EXPECT_TRUE(helper.doGetAllOltOpticsPower());
    EXPECT_EQ(report(), Texts{reportWith({.temperature = "25.00"}, {.temperature = "26.00"})});
}

TEST_F(OltOpticsTest, APortThatFailsDoesNotKeepTheOtherFromBeingRead) {
    transport.expect("01 38 00 02 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04").failToSend();
    transport.expect("01 38 00 03 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04")
        .deliver("01 38 00 03 " + statistic("07", "00 00 00 00 00 00 1a 00"));
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.doGetAllOltOpticsPower()); }), kNoAnswer);
    EXPECT_EQ(report(), Texts{reportWith({}, {.temperature = "26.00"})});
}

TEST_F(OltOpticsTest, ACardIsReportedAfterAReadingThatChangedNothing) {
    // nothing was read before, and nothing of ours is read now
    const std::string nothing = statistic("01", "00 00 00 00 00 00 00 01");
    transport.expect("01 38 00 02 00 0d 05 00 0d b6 01 02 03 00 00 00 0b ff 04")
        .deliver("01 38 00 02 " + nothing);
    transport.expect("01 38 00 03 00 0d 05 00 0d b6 01 02 03 00 01 00 0b ff 04")
        .deliver("01 38 00 03 00 02 00 05");
    EXPECT_TRUE(helper.doGetAllOltOpticsPower());
    EXPECT_EQ(report(), Texts{reportWith({})});
}

}  // namespace ponmgr::test
