#include "PONCardFixture.h"
#include "poncard/PONCardHelper.h"
#include "unit/model/LimitedJsonMemory.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

class PONCardLinksTest : public PONCardFixture {};

}  // namespace

TEST_F(PONCardLinksTest, AllOnusOfTheSlotAreReportedOffline) {
    helper.doReportAllOnuOffline();
    EXPECT_EQ(
        takeNotifications(),
        Texts{R"({"action":"set","uri":"/onu/set/all/offline","data":{"id":"0","slot_id":"3"}})"});
}

TEST_F(PONCardLinksTest, EveryCallReportsThemAgain) {
    helper.doReportAllOnuOffline();
    helper.doReportAllOnuOffline();
    EXPECT_EQ(takeNotifications().size(), 2U);
}

TEST_F(PONCardLinksTest, NothingIsSentToTheCard) {
    helper.doReportAllOnuOffline();
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardLinksTest, AReportThatFailsIsPrintedAndDropped) {
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  helper.doReportAllOnuOffline();
              }),
              "createObject[#]: Impossible to allocate memory\n");
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardLinksTest, AnyOtherFailureIsPrintedUnderTheOperation) {
    EXPECT_EQ(linesPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  helper.doReportAllOnuOffline();
              }),
              "Unknown Error at doReportAllOnuOffline\n");
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardLinksTest, TheCardIsForgottenEvenWhenTheReportFails) {
    identify();
    linesPrintedBy([this] {
        const LimitedJsonMemory noMemory(0);
        helper.setInitialState();
    });
    EXPECT_FALSE(helper.hasOltMacAddress());
}

}  // namespace ponmgr::test
