// What the database manager is told of the card itself, and when.

#include "PONCardFixture.h"
#include "poncard/PONCardHelper.h"
#include "unit/model/LimitedJsonMemory.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

class PONCardReportTest : public PONCardFixture {};

}  // namespace

TEST_F(PONCardReportTest, ANewCardIsReportedWithItsWholeRecord) {
    helper.doReportOLTModule();
    EXPECT_EQ(takeNotifications(),
              Texts{R"({"action":"set","uri":"/olt/new","data":{"app_version":"","id":"0",)"
                    R"("mac_address":"","nvs_enabled":"0","online_status":"0","slot_id":"3",)"
                    R"("status_reported":"0","module_olt_table":[)"
                    R"({"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",)"
                    R"("ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",)"
                    R"("ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"},)"
                    R"({"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",)"
                    R"("ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",)"
                    R"("ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"}]}})"});
}

TEST_F(PONCardReportTest, AReportedCardIsNotReportedAgain) {
    helper.doReportOLTModule();
    takeNotifications();
    helper.doReportOLTModule();
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardReportTest, AReportSendsNothingToTheCard) {
    helper.doReportOLTModule();
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardReportTest, ACardThatComesOnlineTwiceIsReportedOnce) {
    helper.doReportOLTModule();
    takeNotifications();
    helper.setOLTOnlineStatus(true);
    EXPECT_EQ(report(), Texts{oltReport({.onlineStatus = "1"})});
    helper.setOLTOnlineStatus(true);
    EXPECT_EQ(report(), Texts{});
}

TEST_F(PONCardReportTest, ACardThatGoesOfflineIsReportedOnce) {
    helper.setOLTOnlineStatus(true);
    helper.doReportOLTModule();
    takeNotifications();
    helper.setOLTOnlineStatus(false);
    EXPECT_EQ(report(), Texts{oltReport({})});
    helper.setOLTOnlineStatus(false);
    EXPECT_EQ(report(), Texts{});
}

TEST_F(PONCardReportTest, ACardThatWasOfflineAllAlongIsNotReportedAgain) {
    helper.doReportOLTModule();
    takeNotifications();
    helper.setOLTOnlineStatus(false);
    EXPECT_EQ(report(), Texts{});
}

TEST_F(PONCardReportTest, AChangeOfStatusIsNotReportedByItself) {
    helper.setOLTOnlineStatus(true);
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardReportTest, AReportThatFailsIsPrintedAndMadeTheNextTime) {
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  helper.doReportOLTModule();
              }),
              "createObject[#]: Impossible to allocate memory\n");
    EXPECT_EQ(takeNotifications(), Texts{});
    EXPECT_EQ(report(), Texts{oltReport({})});
}

TEST_F(PONCardReportTest, AnyOtherFailureIsPrintedUnderTheOperationAndTheReportMadeTheNextTime) {
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.doReportOLTModule();
              }),
              "Unknown Error at doReportOLTModule\n");
    EXPECT_EQ(takeNotifications(), Texts{});
    EXPECT_EQ(report(), Texts{oltReport({})});
}

}  // namespace ponmgr::test
