#include "dbman/Inventory.h"

namespace ponmgr::dbman {

namespace {

const Time kTime = Time() + std::chrono::seconds(1'000'000'000);

Inventory inventoryOf(const std::vector<int>& slots) {
    return Inventory(makeSlotConfiguration(slots, 0x7F000100, 0x7F000001));
}

TEST(Inventory, BeginsWithTheConfiguredCardsInUnknownState) {
    const auto inventory = inventoryOf({3});
    const auto cards = inventory.cards();
    ASSERT_EQ(cards.size(), 1U);
    EXPECT_EQ(cards[0].slot, 3);
    EXPECT_EQ(cards[0].address, "127.0.1.3");
    EXPECT_EQ(cards[0].source, "127.0.0.1");
    EXPECT_EQ(cards[0].state, State::unknown);
    EXPECT_FALSE(cards[0].lastReport);
}

TEST(Inventory, KeepsWhatAReportDoesNotSay) {
    auto inventory = inventoryOf({3});
    inventory.updateCard(3, {{"mac_address", "m"}, {"online_status", "1"}}, {{{"a", "b"}}}, kTime);
    inventory.updateCard(3, {{"app_version", "0102"}}, {}, kTime);
    const auto card = inventory.cards().at(0);
    EXPECT_EQ(card.state, State::online);
    EXPECT_EQ(valueOf(card.record, "mac_address"), "m");
    EXPECT_EQ(valueOf(card.record, "app_version"), "0102");
    EXPECT_EQ(card.moduleOltTable.size(), 1U);
    EXPECT_EQ(card.address, "127.0.1.3");
    EXPECT_EQ(card.lastReport, kTime);
}

TEST(Inventory, AddsACardThatIsNotConfigured) {
    auto inventory = inventoryOf({3});
    inventory.updateCard(1, {{"online_status", "0"}}, {}, kTime);
    const auto cards = inventory.cards();
    ASSERT_EQ(cards.size(), 2U);
    EXPECT_EQ(cards[0].slot, 1);
    EXPECT_EQ(cards[0].address, "");
    EXPECT_EQ(cards[0].state, State::offline);
}

TEST(Inventory, SetsOnlyTheOnusOfASlotOffline) {
    auto inventory = inventoryOf({});
    inventory.updateOnu("a", 1, {{"online_status", "1"}}, kTime);
    inventory.updateOnu("b", 2, {{"online_status", "1"}}, kTime);
    inventory.setOnusOffline(2);
    EXPECT_EQ(inventory.findOnu("a")->state, State::online);
    EXPECT_EQ(inventory.findOnu("b")->state, State::offline);
    EXPECT_EQ(valueOf(inventory.findOnu("b")->record, "online_status"), "0");
}

TEST(Inventory, FollowsAnOnuToAnotherSlot) {
    auto inventory = inventoryOf({});
    inventory.updateOnu("a", 1, {}, kTime);
    inventory.updateOnu("a", 2, {}, kTime);
    inventory.updateOnu("a", std::nullopt, {}, kTime);
    EXPECT_TRUE(inventory.onus(1).empty());
    EXPECT_EQ(inventory.onus(2).size(), 1U);
}

TEST(Inventory, ForgetsARemovedOnu) {
    auto inventory = inventoryOf({});
    inventory.updateOnu("a", 1, {}, kTime);
    EXPECT_TRUE(inventory.removeOnu("a"));
    EXPECT_FALSE(inventory.removeOnu("a"));
    EXPECT_FALSE(inventory.findOnu("a"));
}

/// Fills what is left of a slot with ONUs of this state.
void fill(Inventory& inventory, std::optional<int> slot, const char* onlineStatus) {
    for (auto number = inventory.onus(slot).size(); number < Inventory::kMaximumOnusOfASlot;
         ++number) {
        const auto name =
            (slot ? std::to_string(*slot) : std::string("none")) + "/" + std::to_string(number);
        ASSERT_TRUE(inventory.updateOnu(name, slot, {{"online_status", onlineStatus}}, kTime));
    }
}

TEST(Inventory, RefusesAFurtherOnuOfASlotWithoutOffLineOnesButStillUpdatesTheOthers) {
    auto inventory = inventoryOf({});
    fill(inventory, 1, "1");
    EXPECT_FALSE(inventory.updateOnu("one more", 1, {}, kTime));
    EXPECT_TRUE(inventory.updateOnu("1/0", 1, {{"online_status", "0"}}, kTime));
    EXPECT_EQ(inventory.findOnu("1/0")->state, State::offline);
    EXPECT_TRUE(inventory.updateOnu("one more", 2, {}, kTime));
    EXPECT_EQ(inventory.onus(1).size(), 512U);
}

TEST(Inventory, OnusThatASlotInventsTakeNothingFromTheOthers) {
    auto inventory = inventoryOf({});
    inventory.updateOnu("real", 2, {{"online_status", "0"}}, kTime - std::chrono::days(9));
    for (std::size_t number = 0; number < 3 * Inventory::kMaximumOnusOfASlot; ++number) {
        inventory.updateOnu(std::to_string(number), 1, {{"online_status", "0"}}, kTime);
    }
    EXPECT_TRUE(inventory.findOnu("real"));
    EXPECT_EQ(inventory.onus(1).size(), 512U);
}

TEST(Inventory, AClaimedOnuMakesRoomForInventedOnesAndIsBackByItsOwnSlotsReport) {
    auto inventory = inventoryOf({});
    inventory.updateOnu("claimed", 2, {{"online_status", "1"}}, kTime);
    inventory.updateOnu("claimed", 1, {{"online_status", "0"}}, kTime);
    for (std::size_t number = 0; number < Inventory::kMaximumOnusOfASlot; ++number) {
        ASSERT_TRUE(inventory.findOnu("claimed")) << number;
        inventory.updateOnu(std::to_string(number), 1, {}, kTime);
    }
    EXPECT_FALSE(inventory.findOnu("claimed"));
    EXPECT_TRUE(inventory.updateOnu("claimed", 2, {{"online_status", "1"}}, kTime));
    EXPECT_EQ(inventory.findOnu("claimed")->slot, 2);
}

TEST(Inventory, AnOnuThatMovesIntoAFullSlotTakesThePlaceOfItsOldestOffLineOne) {
    auto inventory = inventoryOf({});
    inventory.updateOnu("older", 1, {{"online_status", "0"}}, kTime - std::chrono::hours(1));
    fill(inventory, 1, "0");
    inventory.updateOnu("moves", 2, {}, kTime);
    EXPECT_TRUE(inventory.updateOnu("moves", 1, {}, kTime));
    EXPECT_EQ(inventory.findOnu("moves")->slot, 1);
    EXPECT_FALSE(inventory.findOnu("older"));
    EXPECT_EQ(inventory.onus(1).size(), 512U);
}

TEST(Inventory, AnOnuThatMovesIntoASlotFullOfOnLineOnesStaysWhereItWas) {
    auto inventory = inventoryOf({});
    fill(inventory, 1, "1");
    inventory.updateOnu("moves", 2, {}, kTime);
    EXPECT_FALSE(inventory.updateOnu("moves", 1, {}, kTime));
    EXPECT_EQ(inventory.findOnu("moves")->slot, 2);
}

TEST(Inventory, OnusWithoutASlotAreBoundedLikeThoseOfOne) {
    auto inventory = inventoryOf({});
    fill(inventory, std::nullopt, "1");
    EXPECT_FALSE(inventory.updateOnu("one more", std::nullopt, {}, kTime));
    EXPECT_TRUE(inventory.updateOnu("one more", 1, {}, kTime));
    EXPECT_TRUE(inventory.updateOnu("one more", std::nullopt, {}, kTime));
}

TEST(Inventory, WhatAFormerRunHadTooMuchOfASlotMakesRoomAndOnLineOnesLast) {
    auto inventory = inventoryOf({});
    std::vector<Onu> stored;
    for (int number = 0; number < 600; ++number) {
        const auto state = number < 500 ? State::online : State::offline;
        stored.push_back(
            {std::to_string(number), 3, state, {}, kTime + std::chrono::seconds(number)});
    }
    stored.push_back({"of another slot", 4, State::offline, {}, kTime});
    inventory.load({}, stored);
    EXPECT_EQ(inventory.onus(3).size(), 512U);
    EXPECT_TRUE(inventory.findOnu("0"));
    EXPECT_FALSE(inventory.findOnu("587"));
    EXPECT_TRUE(inventory.findOnu("588"));
    EXPECT_TRUE(inventory.findOnu("of another slot"));
    EXPECT_EQ(inventory.takeChanges().removedOnus.size(), 88U);
}

TEST(Inventory, ACardWithoutAddressIsOfUnknownState) {
    Inventory inventory(makeSlotConfiguration({3}, 0x7F000100, 0x7F000001));
    inventory.updateCard(3, {{"online_status", "1"}, {"app_version", "0417"}}, {}, Time());
    inventory.setAddress(3, std::nullopt);
    const auto card = inventory.findCard(3);
    ASSERT_TRUE(card);
    EXPECT_EQ(card->state, State::unknown);
    EXPECT_EQ(card->address, "");
    EXPECT_EQ(valueOf(card->record, "app_version"), "0417");
}

TEST(Inventory, WhatAFormerRunHasKnownIsNoChangeAndKeepsTheAddresses) {
    Inventory inventory(makeSlotConfiguration({3}, 0x7F000100, 0x7F000001));
    Card card;
    card.slot = 3;
    card.state = State::online;
    inventory.load({card}, {{"00:11:22:33:44:55", 3, State::online, {}, Time()}});
    EXPECT_EQ(inventory.findCard(3)->address, "127.0.1.3");
    EXPECT_EQ(inventory.findCard(3)->state, State::online);
    EXPECT_TRUE(inventory.findOnu("00:11:22:33:44:55"));
    const auto changes = inventory.takeChanges();
    EXPECT_TRUE(changes.cards.empty());
    EXPECT_TRUE(changes.onus.empty());
}

TEST(Inventory, ChangesAreTakenOnceUnlessTheyAreMarkedAgain) {
    Inventory inventory(SlotConfiguration{});
    inventory.updateCard(3, {}, {}, Time());
    inventory.updateOnu("a", 3, {}, Time());
    inventory.updateOnu("b", 3, {}, Time());
    inventory.removeOnu("b");
    const auto changes = inventory.takeChanges();
    EXPECT_EQ(changes.cards.size(), 1U);
    EXPECT_EQ(changes.onus.size(), 1U);
    EXPECT_EQ(changes.removedOnus, std::vector<std::string>{"b"});
    EXPECT_TRUE(inventory.takeChanges().onus.empty());
    inventory.markChanged(changes);
    const auto again = inventory.takeChanges();
    EXPECT_EQ(again.cards.size(), 1U);
    EXPECT_EQ(again.onus.size(), 1U);
    EXPECT_EQ(again.removedOnus.size(), 1U);
}

}  // namespace

}  // namespace ponmgr::dbman
