#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "model/OltAlarmTableRow.h"

namespace ponmgr::test {

namespace {

static_assert(std::is_base_of_v<Container, OltAlarmTableRow>);

TEST(OltAlarmTableRowTest, ANewRowIsEmpty) {
    EXPECT_EQ(OltAlarmTableRow().getJsonFile(),
              R"({"alarm":"","datetime":"","id":"0","label":"","slot_id":"","state":""})");
}

TEST(OltAlarmTableRowTest, ANewRowIsNotModified) {
    EXPECT_FALSE(OltAlarmTableRow().getHasModified());
}

TEST(OltAlarmTableRowTest, RowsMakeTheAlarmListOfAReport) {
    auto row = std::make_unique<OltAlarmTableRow>();
    row->setValue("label", "Loss of signal", true);
    row->setValue("alarm", "12", true);
    row->setValue("state", "1", true);
    row->setValue("slot_id", "8", true);
    row->setValue("datetime", "05032024070809", true);
    Container report;
    report.addItemToList("alarm_list", std::move(row));
    EXPECT_EQ(report.getJsonFile(),
              R"({"id":"0","alarm_list":[{"alarm":"12","datetime":"05032024070809","id":"0",)"
              R"("label":"Loss of signal","slot_id":"8","state":"1"}]})");
}

}  // namespace

}  // namespace ponmgr::test
