#include "dbman/SlotTable.h"

namespace ponmgr::dbman {

namespace {

TEST(SlotTable, HasEightSlotsWithoutAddress) {
    const SlotTable table;
    const auto slots = table.slots();
    ASSERT_EQ(slots.size(), 8U);
    EXPECT_EQ(slots[7].number, 8);
    EXPECT_STREQ(toText(slots[7].wanted), "unset");
    EXPECT_TRUE(table.configuration().empty());
}

TEST(SlotTable, ConfiguringChangesAllEight) {
    SlotTable table;
    table.configure(makeSlotConfiguration({3}, 0x7F000100, 0x7F000001));
    EXPECT_EQ(table.takeChanges().size(), 8U);
    EXPECT_EQ(table.configuration().at(3).card, "127.0.1.3");
    EXPECT_TRUE(table.takeChanges().empty());
}

TEST(SlotTable, ASlotKeepsItsSourceUnlessItGetsAnother) {
    SlotTable table;
    EXPECT_EQ(table.setAddress(3, "10.0.0.3", std::nullopt, "127.0.0.1").source, "127.0.0.1");
    EXPECT_EQ(table.setAddress(3, "10.0.0.4", "10.0.0.1", "127.0.0.1").source, "10.0.0.1");
    EXPECT_EQ(table.setAddress(3, "10.0.0.5", std::nullopt, "127.0.0.1").source, "10.0.0.1");
    EXPECT_EQ(table.configuration().at(3).card, "10.0.0.5");
}

TEST(SlotTable, AClearedSlotHasNoAddressButItsWantedState) {
    SlotTable table;
    table.setAddress(3, "10.0.0.3", std::nullopt, "127.0.0.1");
    table.setWanted(3, Wanted::disabled);
    table.clearAddress(3);
    EXPECT_TRUE(table.configuration().empty());
    const auto changes = table.takeChanges();
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].address.source, "");
    EXPECT_EQ(changes[0].wanted, Wanted::disabled);
    table.markChanged(changes);
    EXPECT_EQ(table.takeChanges().size(), 1U);
}

TEST(SlotTable, SlotsOfAFormerRunAreNoChange) {
    SlotTable table;
    table.load({{3, {"10.0.0.3", "10.0.0.1"}, Wanted::enabled}});
    EXPECT_EQ(table.configuration().at(3).source, "10.0.0.1");
    EXPECT_TRUE(table.takeChanges().empty());
}

TEST(Wanted, IsFoundByItsName) {
    for (const auto wanted : {Wanted::unset, Wanted::enabled, Wanted::disabled}) {
        EXPECT_EQ(wantedOf(toText(wanted)), wanted);
    }
    EXPECT_EQ(wantedOf("else"), Wanted::unset);
}

}  // namespace

}  // namespace ponmgr::dbman
