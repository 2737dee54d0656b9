// The card's events: what they do to the links, and the alarms that are reported.

#include <ostream>

#include "PONCardLinkFixture.h"
#include "ipc/IPCWorker.h"
#include "model/Container.h"
#include "unit/model/LimitedJsonMemory.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

constexpr const char* kA = "00:0f:e9:00:00:0a";
constexpr const char* kB = "00:0f:e9:00:00:0b";
/// What a user without rights can send: with the usual net.core.wmem_max the kernel gives a socket
/// twice as much, of which it keeps 32 bytes to itself.
constexpr std::size_t kLargestMessage = std::size_t{2} * 212992 - 32;

std::size_t rowsIn(const std::string& report) {
    std::size_t rows = 0;
    for (std::size_t at = report.find("{\"alarm\":"); at != std::string::npos;
         at = report.find("{\"alarm\":", at + 1)) {
        rows++;
    }
    return rows;
}

constexpr const char* kAllOnuOffline =
    R"({"action":"set","uri":"/onu/set/all/offline","data":{"id":"0","slot_id":"3"}})";

const OnuRecord kDiscoveredA{.mac = kA, .online = "1", .ponPort = "1"};

/// An OLT Ready of the card of these tests, with all its 91 bytes.
std::string oltReady() {
    return "80 00 00 00 00 5b" +
           oltInformation().substr(std::string("00 07 00 01 00 5d 00 00").size());
}

/// A Report Alarm of the card's port; port as four digits, id and state as two.
std::string portAlarm(const std::string& port, const std::string& id, const std::string& state) {
    return "80 1a 00 00 00 11 00 00 00 00 05 00 0d b6 01 02 03 " + port + " " + id + " " + state +
           " 01 00";
}

class PONCardAlarmsTest : public PONCardLinkFixture {
protected:
    /// Lets the events come and be handled; they print nothing.
    bool handle(const std::vector<std::string>& events) {
        for (const std::string& event : events) {
            emit(event);
        }
        bool goOn = false;
        EXPECT_EQ(linesPrintedBy([&] { goOn = helper.handleAlarms(); }), "");
        return goOn;
    }
    /// The same for events of which something is printed.
    std::string printedFor(const std::vector<std::string>& events) {
        for (const std::string& event : events) {
            emit(event);
        }
        return linesPrintedBy([this] { EXPECT_TRUE(helper.handleAlarms()); });
    }
};

/// An alarm that takes a link off-line, with its state on the wire and in the report.
struct LosingAlarm {
    const char* test;
    const char* id;
    const char* state;
    const char* name;
    const char* reportedState;
};
void PrintTo(const LosingAlarm& alarm, std::ostream* stream) {
    *stream << alarm.test;
}
class LosingAlarmTest : public PONCardAlarmsTest,
                        public testing::WithParamInterface<LosingAlarm> {};

/// A port of the card with its name.
struct NamedPort {
    const char* port;
    const char* name;
};
void PrintTo(const NamedPort& port, std::ostream* stream) {
    *stream << port.name;
}
class PortAlarmTest : public PONCardAlarmsTest, public testing::WithParamInterface<NamedPort> {};

}  // namespace

TEST_F(PONCardAlarmsTest, WithoutEventsNothingHappens) {
    EXPECT_TRUE(handle({}));
    EXPECT_EQ(alarms(), Texts{});
    EXPECT_TRUE(transport.getSent().empty());
}

// --- discovery ---

TEST_F(PONCardAlarmsTest, ADiscoveryMakesTheLinkAndClearsItsReportTimeout) {
    EXPECT_TRUE(handle({linkDiscovery("0a")}));
    EXPECT_EQ(links(), listOf({kDiscoveredA}));
    EXPECT_EQ(alarms(), alarmReport({{"Report Timeout", "ONU Link: 00:0f:e9:00:00:0a", "Off"}}));
}

TEST_F(PONCardAlarmsTest, ADiscoveryOfAKnownLinkStartsItAfresh) {
    discoverAndProvision({"0a"});
    EXPECT_TRUE(handle({linkAlarm("0a", "17", "01"), linkAlarm("0a", "40", "01")}));
    EXPECT_TRUE(handle({linkDiscovery("0a")}));
    EXPECT_EQ(links(), listOf({kDiscoveredA}));
}

TEST_F(PONCardAlarmsTest, EachEventIsHandledOnce) {
    EXPECT_TRUE(handle({linkDiscovery("0a")}));
    EXPECT_TRUE(handle({}));
    EXPECT_EQ(alarms(), alarmReport({{"Report Timeout", "ONU Link: 00:0f:e9:00:00:0a", "Off"}}));
}

// --- alarms that take a link off-line ---

TEST_P(LosingAlarmTest, ItTakesTheLinkOfflineWhateverItsState) {
    discoverAndProvision({"0a"});
    EXPECT_TRUE(handle({linkAlarm("0a", GetParam().id, GetParam().state)}));
    EXPECT_EQ(links(), listOf({{.alarmMessage = GetParam().name, .ponPort = "1"}}));
    EXPECT_EQ(
        alarms(),
        alarmReport({{GetParam().name, "ONU Link: 00:0f:e9:00:00:0a", GetParam().reportedState}}));
}

TEST_P(LosingAlarmTest, ForAnUnknownLinkItIsReportedAndChangesNone) {
    discoverAndProvision({"0a"});
    const std::string before = links();
    EXPECT_TRUE(handle({linkAlarm("0b", GetParam().id, GetParam().state)}));
    EXPECT_EQ(links(), before);
    EXPECT_EQ(
        alarms(),
        alarmReport({{GetParam().name, "ONU Link: 00:0f:e9:00:00:0b", GetParam().reportedState}}));
}

INSTANTIATE_TEST_SUITE_P(
    Alarms, LosingAlarmTest,
    testing::Values(LosingAlarm{"TimeoutOn", "17", "01", "Report Timeout", "On"},
                    LosingAlarm{"TimeoutOff", "17", "00", "Report Timeout", "Off"},
                    LosingAlarm{"GaspOn", "40", "01", "Standard Dying Gasp", "On"},
                    LosingAlarm{"GaspOff", "40", "00", "Standard Dying Gasp", "Off"}),
    [](const auto& alarm) { return std::string(alarm.param.test); });

TEST_F(PONCardAlarmsTest, AlarmMessagesOfALinkAddUpInTheirOrder) {
    discoverAndProvision({"0a"});
    EXPECT_TRUE(handle({linkAlarm("0a", "40", "01"), linkAlarm("0a", "17", "01")}));
    EXPECT_EQ(links(),
              listOf({{.alarmMessage = "Standard Dying Gasp,Report Timeout", .ponPort = "1"}}));
}

// --- other alarms ---

TEST_F(PONCardAlarmsTest, EveryOtherAlarmIsReportedAndChangesNoLink) {
    discoverAndProvision({"0a"});
    const std::string before = links();
    EXPECT_TRUE(handle({linkAlarm("0a", "10", "01"), linkAlarm("0a", "19", "00"),
                        linkAlarm("0a", "41", "01"), linkAlarm("0a", "ac", "01")}));
    EXPECT_EQ(links(), before);
    const std::string label = "ONU Link: 00:0f:e9:00:00:0a";
    EXPECT_EQ(alarms(), alarmReport({{"Standard Link Fault", label, "On"},
                                     {"OAM Keepalive Timeout", label, "Off"},
                                     {"Power Fail", label, "On"},
                                     {"ECC Uncorrectable Error", label, "On"}}));
}

TEST_F(PONCardAlarmsTest, OnlyExactlyOneIsOn) {
    EXPECT_TRUE(handle({linkAlarm("0a", "11", "02"), linkAlarm("0a", "11", "ff")}));
    const std::string label = "ONU Link: 00:0f:e9:00:00:0a";
    EXPECT_EQ(alarms(),
              alarmReport({{"Loss of Signal", label, "Off"}, {"Loss of Signal", label, "Off"}}));
}

TEST_F(PONCardAlarmsTest, AnAlarmOfALinkOnTheCardsSideIsLabelledSo) {
    EXPECT_TRUE(handle({"80 1a 00 00 00 0f 00 00 00 00 07 00 0f e9 00 00 0a 20 01 01 00"}));
    EXPECT_EQ(alarms(), alarmReport({{"Loopback", "OLT Link: 00:0f:e9:00:00:0a", "On"}}));
}

TEST_P(PortAlarmTest, AnAlarmOfAPortIsLabelledWithItsName) {
    EXPECT_TRUE(handle({portAlarm(GetParam().port, "11", "01")}));
    EXPECT_EQ(alarms(),
              alarmReport({{"Loss of Signal", std::string("OLT Port: ") + GetParam().name, "On"}}));
}

INSTANTIATE_TEST_SUITE_P(Ports, PortAlarmTest,
                         testing::Values(NamedPort{"00 00", "EPON-0"}, NamedPort{"00 01", "EPON-1"},
                                         NamedPort{"00 02", "NNI-0"}, NamedPort{"00 03", "NNI-1"}));

TEST_F(PONCardAlarmsTest, AnAlarmOfAPortThatTakesLinksOfflineFindsNoneByTheCardsAddress) {
    discoverAndProvision({"0a"});
    const std::string before = links();
    EXPECT_TRUE(handle({portAlarm("00 00", "17", "01")}));
    EXPECT_EQ(links(), before);
    EXPECT_EQ(alarms(), alarmReport({{"Report Timeout", "OLT Port: EPON-0", "On"}}));
}

TEST_F(PONCardAlarmsTest, AnAlarmWithoutANameYieldsNoRowAndTheBatchGoesOn) {
    EXPECT_EQ(printedFor({linkAlarm("0a", "14", "01"), linkAlarm("0a", "13", "01")}),
              "getStringReportAlarmId[#]: TK Report Alarm ID(20) not found\n");
    EXPECT_EQ(alarms(), alarmReport({{"Transmit Degrade", "ONU Link: 00:0f:e9:00:00:0a", "On"}}));
}

TEST_F(PONCardAlarmsTest, AnAlarmOfAPortWithoutANameYieldsNoRowAndTheBatchGoesOn) {
    EXPECT_EQ(printedFor({portAlarm("00 04", "11", "01"), portAlarm("00 01", "12", "01")}),
              "getStringEntityPortId[#]: TK Entity Port ID(4) not found\n");
    EXPECT_EQ(alarms(), alarmReport({{"Transmit Fail", "OLT Port: EPON-1", "On"}}));
}

// --- moves ---

TEST_F(PONCardAlarmsTest, AMoveTakesTheLinkToItsNewPort) {
    discoverAndProvision({"0a"});
    EXPECT_TRUE(handle({"80 2b 00 00 00 0c 00 00 00 00 00 0f e9 00 00 0a 01 00"}));
    EXPECT_EQ(links(), listOf({{.etherUp = "1", .isGigabit = "1", .online = "1", .ponPort = "0"}}));
    EXPECT_EQ(
        alarms(),
        alarmReport({{"ONU Link Moved Between PON Ports", "ONU Link: 00:0f:e9:00:00:0a", "On"}}));
}

TEST_F(PONCardAlarmsTest, AMoveBringsAnOfflineLinkBack) {
    discover("0a");
    EXPECT_TRUE(handle(
        {linkAlarm("0a", "17", "01"), "80 2b 00 00 00 0c 00 00 00 00 00 0f e9 00 00 0a 01 00"}));
    EXPECT_EQ(links(), listOf({{.alarmMessage = "Report Timeout", .online = "1", .ponPort = "0"}}));
}

TEST_F(PONCardAlarmsTest, AMoveOfAnUnknownLinkIsReportedAndMakesNone) {
    EXPECT_TRUE(handle({"80 2b 00 00 00 0c 00 00 00 00 00 0f e9 00 00 0a 01 00"}));
    EXPECT_EQ(links(), listOf({}));
    EXPECT_EQ(
        alarms(),
        alarmReport({{"ONU Link Moved Between PON Ports", "ONU Link: 00:0f:e9:00:00:0a", "On"}}));
}

// --- OLT Ready ---

TEST_F(PONCardAlarmsTest, ARestartedCardIsForgottenAndTheRestOfItsBatchNotHandled) {
    identify();
    helper.setHasDomain(true);
    EXPECT_FALSE(handle({linkDiscovery("0a"), oltReady(), linkDiscovery("0b")}));
    EXPECT_FALSE(helper.hasOltMacAddress());
    EXPECT_FALSE(helper.getHasDomain());
    EXPECT_EQ(takeNotifications(), Texts{kAllOnuOffline});
    EXPECT_EQ(links(), listOf({}));
    // what came before it is reported with the next pass that gets so far
    EXPECT_EQ(alarms(), alarmReport({{"Report Timeout", "ONU Link: 00:0f:e9:00:00:0a", "Off"}}));
}

TEST_F(PONCardAlarmsTest, TheRestOfTheBatchIsGoneAfterARestart) {
    EXPECT_FALSE(handle({oltReady(), linkDiscovery("0b")}));
    EXPECT_TRUE(handle({}));
    EXPECT_EQ(links(), listOf({}));
}

TEST_F(PONCardAlarmsTest, ARestartThatBreaksOffIsAnErrorAndNoRestart) {
    identify();
    std::string broken = oltReady();
    broken.resize(broken.size() - std::string(" 02").size());
    EXPECT_EQ(printedFor({broken}),
              "parseGet_OLT_Information[#]: Impossible to parse offset=90, length=1\n");
    EXPECT_TRUE(helper.hasOltMacAddress());
    EXPECT_EQ(takeNotifications(), Texts{});
}

// --- batches that are lost ---

TEST_F(PONCardAlarmsTest, AnUnknownEntityCostsTheWholeBatch) {
    EXPECT_EQ(printedFor({linkDiscovery("0a"),
                          "80 1a 00 00 00 0f 00 00 00 00 04 00 0f e9 00 00 0a 11 01 01 00",
                          linkDiscovery("0b")}),
              "parseReport_Alarm[#]: Entity Tag(4) not handled\n");
    EXPECT_EQ(links(), listOf({}));
    EXPECT_EQ(alarms(), Texts{});
    EXPECT_TRUE(handle({}));
    EXPECT_EQ(links(), listOf({}));
}

TEST_F(PONCardAlarmsTest, AnUnknownEventCostsTheWholeBatch) {
    EXPECT_EQ(printedFor({linkDiscovery("0a"), "81 23 00 00 00 04 00 00 00 00"}),
              "parseMessage[#]: Response Message ID (33059) not handled\n");
    EXPECT_EQ(links(), listOf({}));
}

TEST_F(PONCardAlarmsTest, AFailureOtherwiseIsPrintedUnderTheOperationAndThePassGoesOn) {
    emit(linkDiscovery("0a"));
    bool goOn = false;
    EXPECT_EQ(textPrintedBy([&] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  goOn = helper.handleAlarms();
              }),
              "Unknown Error at handleAlarms\n");
    EXPECT_TRUE(goOn);
}

// --- rows ---

TEST_F(PONCardAlarmsTest, ARowThatCannotBeBuiltIsPrintedAndNotAdded) {
    const std::string mac = kA;  // its memory is taken before
    EXPECT_EQ(textPrintedBy([&] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.addCustomReportAlarm(TKEntityTagId::OnuLink, "", mac, "Loopback", "On");
              }),
              "Unknown Error at addCustomReportAlarm\n");
    EXPECT_EQ(alarms(), Texts{});
}

TEST_F(PONCardAlarmsTest, ARowOfAnUnknownEntityIsPrintedAndNotAdded) {
    EXPECT_EQ(linesPrintedBy([this] {
                  helper.addCustomReportAlarm(static_cast<TKEntityTagId>(4), "", kA, "Loopback",
                                              "On");
              }),
              "getStringEntityTagId[#]: TK Entity Tag ID(4) not found\n");
    EXPECT_EQ(alarms(), Texts{});
}

TEST_F(PONCardAlarmsTest, AnAlarmRecordWithoutItsFieldsIsPrintedAndNotAdded) {
    Container empty;
    EXPECT_EQ(linesPrintedBy([&] { helper.addReportAlarm(&empty); }),
              "getValue[#]: Key 'alarm_state' not found\n");
    EXPECT_EQ(alarms(), Texts{});
}

TEST_F(PONCardAlarmsTest, AnEventWithoutANameIsCalledByItsNumber) {
    helper.addGeneralOnuReportAlarm(TKIDMessage::LinkDiscovery, kB);
    EXPECT_EQ(alarms(), alarmReport({{"Alarm ID(32793)", "ONU Link: 00:0f:e9:00:00:0b", "On"}}));
}

// --- the report ---

TEST_F(PONCardAlarmsTest, AlarmsAreReportedOnceAndInOneMessage) {
    EXPECT_TRUE(handle({linkAlarm("0a", "11", "01"), linkAlarm("0b", "12", "00")}));
    EXPECT_EQ(alarms(), alarmReport({{"Loss of Signal", "ONU Link: 00:0f:e9:00:00:0a", "On"},
                                     {"Transmit Fail", "ONU Link: 00:0f:e9:00:00:0b", "Off"}}));
    EXPECT_EQ(alarms(), Texts{});
}

TEST_F(PONCardAlarmsTest, AlarmsWhoseReportFailsStayForTheNextOne) {
    EXPECT_TRUE(handle({linkAlarm("0a", "11", "01")}));
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  EXPECT_FALSE(helper.doReportAlarmToDBMan());
              }),
              "createObject[#]: Impossible to allocate memory\n");
    EXPECT_EQ(alarms(), alarmReport({{"Loss of Signal", "ONU Link: 00:0f:e9:00:00:0a", "On"}}));
}

TEST_F(PONCardAlarmsTest, MoreAlarmsThanAMessageHoldsAreReportedInSeveral) {
    for (std::size_t i = 0; i <= PONCardHelper::kMostAlarms; i++) {
        // none has a longer name
        helper.addGeneralOnuReportAlarm(TKIDMessage::OnuLinkMovedBetweenPonPorts, kA);
    }
    const Texts first = takeNotifications();
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(rowsIn(first[0]), PONCardHelper::kMostAlarms);
    EXPECT_LT(first[0].size(), kLargestMessage);
    const Texts second = alarms();
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(rowsIn(second[0]), 1U);
}

TEST_F(PONCardAlarmsTest, AlarmsThatCannotBeReportedAreLostBeyondTheMostAndCounted) {
    for (std::size_t i = 0; i < PONCardHelper::kMostAlarms; i++) {
        helper.addLinkReportAlarm(kA);
    }
    linesPrintedBy([this] {
        const std::string large = "\"" + std::string(IPCWorker::kMostBytes / 2 - 1000, 'x') + "\"";
        IPCWorker::getInstance()->notify("/large", large);
        for (int i = 0; i < 3; i++) {
            helper.addLinkReportAlarm(kB);
        }
    });
    EXPECT_EQ(takeNotifications().size(), 1U);
    EXPECT_EQ(
        linesPrintedBy([this] { EXPECT_EQ(rowsIn(alarms().at(0)), PONCardHelper::kMostAlarms); }),
        "doReportAlarmToDBMan: 3 alarms of slot 3 lost, more than 2048 waited to be reported\n");
    EXPECT_EQ(alarms(), Texts{});
}

TEST_F(PONCardAlarmsTest, AFullReportIsTriedOnceAPassAndNotForEveryAlarmBeyondIt) {
    for (std::size_t i = 0; i < PONCardHelper::kMostAlarms; i++) {
        helper.addLinkReportAlarm(kA);
    }
    const std::string large = "\"" + std::string(IPCWorker::kMostBytes / 2 - 1000, 'x') + "\"";
    IPCWorker::getInstance()->notify("/large", large);
    for (int pass = 0; pass < 2; pass++) {
        EXPECT_EQ(linesPrintedBy([this] {
                      EXPECT_TRUE(helper.handleAlarms());
                      helper.addLinkReportAlarm(kB);
                      helper.addLinkReportAlarm(kB);
                      helper.addLinkReportAlarm(kB);
                  }),
                  "addNotification[#]: Too many notifications wait\n");
    }
    EXPECT_EQ(takeNotifications().size(), 1U);
    linesPrintedBy([this] { EXPECT_EQ(alarms().size(), 1U); });
}

TEST_F(PONCardAlarmsTest, AReportThatFailsOtherwiseIsPrintedUnderTheOperation) {
    EXPECT_TRUE(handle({linkAlarm("0a", "11", "01")}));
    bool answer = true;
    EXPECT_EQ(textPrintedBy([&] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  answer = helper.doReportAlarmToDBMan();
              }),
              "Unknown Error at doReportAlarmToDBMan\n");
    EXPECT_FALSE(answer);
    EXPECT_EQ(alarms().size(), 1U);
}

TEST_F(PONCardAlarmsTest, AlarmsCanBeForgotten) {
    EXPECT_TRUE(handle({linkAlarm("0a", "11", "01")}));
    helper.clearAllAlarm();
    EXPECT_EQ(alarms(), Texts{});
}

}  // namespace ponmgr::test
