#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "model/ModuleOltTableRow.h"

namespace ponmgr::test {

namespace {

static_assert(std::is_base_of_v<Container, ModuleOltTableRow>);

constexpr const char* kNewRow =
    R"({"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",)"
    R"("ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",)"
    R"("ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"})";

TEST(ModuleOltTableRowTest, ANewRowHasEmptyIndexesAndNoReadings) {
    EXPECT_EQ(ModuleOltTableRow().getJsonFile(), kNewRow);
}

TEST(ModuleOltTableRowTest, ANewRowIsNotModified) {
    EXPECT_FALSE(ModuleOltTableRow().getHasModified());
}

TEST(ModuleOltTableRowTest, AReadingIsStoredUnderItsKey) {
    ModuleOltTableRow row;
    row.setValue("ucOpticModuleOltVcc", "3.30", true);
    EXPECT_EQ(row.getValue("ucOpticModuleOltVcc"), "3.30");
    EXPECT_TRUE(row.getHasModified());
}

TEST(ModuleOltTableRowTest, TheDefaultsTakeBackTheReadingsOnly) {
    ModuleOltTableRow row;
    row.setJsonData(R"({"ucOpticModuleOltPonIndex":"1","ucOpticModuleOltSlotIndex":"8",)"
                    R"("ucOpticModuleOltTemperature":"40.00","ucOpticModuleOltTxBias":"5.00",)"
                    R"("ucOpticModuleOltTxPower":"2.00","ucOpticModuleOltVcc":"3.30"})",
                    false);
    row.clearHasModified();
    row.initDefaultValues();
    EXPECT_EQ(row.getJsonFile(),
              R"({"id":"0","ucOpticModuleOltPonIndex":"1","ucOpticModuleOltSlotIndex":"8",)"
              R"("ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",)"
              R"("ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"})");
    EXPECT_FALSE(row.getHasModified());
}

}  // namespace

}  // namespace ponmgr::test
