// Lists of records and their ownership, and clear().

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Failure.h"
#include "Items.h"
#include "model/Container.h"

using testing::ElementsAre;

namespace ponmgr::test {

namespace {

class ContainerListTest : public testing::Test {
protected:
    // Three items with the value a = first, second, third.
    ContainerListTest() {
        for (const char* value : {"first", "second", "third"}) {
            record.addItemToList("list", itemOf("a", value));
        }
    }

    std::vector<std::string> values() {
        std::vector<std::string> texts;
        for (const auto& item : record.getList("list")) {
            texts.push_back(item->getValue("a"));
        }
        return texts;
    }

    Container record;
};

TEST(ContainerWithoutListsTest, HasNoListAndNoItems) {
    Container record;
    EXPECT_FALSE(record.hasList("list"));
    EXPECT_FALSE(record.hasList("id"));
    EXPECT_EQ(record.getListSize("list"), 0U);
    EXPECT_EQ(record.getListSize("id"), 0U);
    EXPECT_EQ(record.takeItemFromList("list", 0), nullptr);
    EXPECT_FALSE(record.hasList("list"));
}

TEST(ContainerWithoutListsTest, AListThatThereIsNotIsNamed) {
    EXPECT_EQ(whatOf([] { Container().getList("list"); }), "getList[157]: Key 'list' not found");
    EXPECT_EQ(whatOf([] { Container().getList("id"); }), "getList[157]: Key 'id' not found");
}

TEST_F(ContainerListTest, ItemsKeepTheirOrder) {
    EXPECT_TRUE(record.hasList("list"));
    EXPECT_EQ(record.getListSize("list"), 3U);
    EXPECT_THAT(values(), ElementsAre("first", "second", "third"));
}

TEST_F(ContainerListTest, TheListItselfIsHandedOut) {
    record.getList("list")[1]->setValue("a", "changed", true);
    EXPECT_THAT(values(), ElementsAre("first", "changed", "third"));
}

TEST_F(ContainerListTest, ListsOfOtherNamesAreApart) {
    record.addItemToList("List", itemOf("a", "other"));
    EXPECT_EQ(record.getListSize("list"), 3U);
    EXPECT_EQ(record.getListSize("List"), 1U);
}

TEST_F(ContainerListTest, ListOperationsLeaveTheModifiedFlag) {
    record.takeItemFromList("list", 0);
    record.clearList("list");
    EXPECT_FALSE(record.getHasModified());
}

TEST_F(ContainerListTest, ATakenItemIsTheCallersAndTheLaterOnesMoveUp) {
    const auto taken = record.takeItemFromList("list", 1);
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->getValue("a"), "second");
    EXPECT_THAT(values(), ElementsAre("first", "third"));
}

TEST_F(ContainerListTest, TheLastItemTakenLeavesAnEmptyList) {
    for (int item = 0; item < 3; item++) {
        EXPECT_NE(record.takeItemFromList("list", 0), nullptr);
    }
    EXPECT_TRUE(record.hasList("list"));
    EXPECT_EQ(record.getListSize("list"), 0U);
    EXPECT_EQ(record.takeItemFromList("list", 0), nullptr);
}

TEST_F(ContainerListTest, NothingIsTakenAtTheSize) {
    EXPECT_EQ(record.takeItemFromList("list", 3), nullptr);
    EXPECT_EQ(record.takeItemFromList("list", static_cast<std::size_t>(-1)), nullptr);
    EXPECT_THAT(values(), ElementsAre("first", "second", "third"));
}

TEST_F(ContainerListTest, AClearedListIsEmptyButThere) {
    record.clearList("list");
    EXPECT_TRUE(record.hasList("list"));
    EXPECT_EQ(record.getListSize("list"), 0U);
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0","list":[]})");
}

TEST(ContainerWithoutListsTest, ClearListMakesAMissingList) {
    Container record;
    record.clearList("list");
    EXPECT_TRUE(record.hasList("list"));
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0","list":[]})");
}

TEST(ContainerWithoutListsTest, AddItemToListRefusesTheKeyOfAValue) {
    Container record;
    EXPECT_EQ(whatOf([&] { record.addItemToList("id", std::make_unique<Container>()); }),
              "addItemToList[130]: Can't convert object 'id' to a list");
    EXPECT_FALSE(record.hasList("id"));
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0"})");
}

TEST(ContainerOwnershipTest, ARefusedItemIsDestroyed) {
    int destroyed = 0;
    Container record;
    messageOf([&] { record.addItemToList("id", std::make_unique<CountedItem>(destroyed)); });
    EXPECT_EQ(destroyed, 1);
}

TEST(ContainerOwnershipTest, ARecordDestroysItsItems) {
    int destroyed = 0;
    {
        Container record;
        record.addItemToList("a", std::make_unique<CountedItem>(destroyed));
        record.addItemToList("a", std::make_unique<CountedItem>(destroyed));
        record.addItemToList("b", std::make_unique<CountedItem>(destroyed));
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 3);
}

TEST(ContainerOwnershipTest, ClearListDestroysTheItemsOfThatList) {
    int destroyed = 0;
    Container record;
    record.addItemToList("a", std::make_unique<CountedItem>(destroyed));
    record.addItemToList("b", std::make_unique<CountedItem>(destroyed));
    record.clearList("a");
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(record.getListSize("b"), 1U);
}

TEST(ContainerOwnershipTest, ClearDestroysAllItems) {
    int destroyed = 0;
    Container record;
    record.addItemToList("a", std::make_unique<CountedItem>(destroyed));
    record.addItemToList("b", std::make_unique<CountedItem>(destroyed));
    record.clear();
    EXPECT_EQ(destroyed, 2);
}

TEST(ContainerOwnershipTest, ATakenItemOutlivesItsRecord) {
    int destroyed = 0;
    std::unique_ptr<Container> taken;
    {
        Container record;
        record.addItemToList("a", std::make_unique<CountedItem>(destroyed));
        taken = record.takeItemFromList("a", 0);
    }
    EXPECT_EQ(destroyed, 0);
    taken.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(ContainerClearTest, LeavesNothingButTheIdZero) {
    Container record;
    record.setNewValue("a", "1");
    record.setId(7);
    record.clearList("list");
    record.clear();
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0"})");
    EXPECT_FALSE(record.hasKey("a"));
    EXPECT_FALSE(record.hasList("list"));
}

TEST(ContainerClearTest, LeavesTheModifiedFlag) {
    Container record;
    record.clear();
    EXPECT_FALSE(record.getHasModified());
    record.setId(7);
    record.clear();
    EXPECT_TRUE(record.getHasModified());
}

TEST(ContainerClearTest, FreesTheNamesForEitherUse) {
    Container record;
    record.setNewValue("a", "1");
    record.clearList("b");
    record.clear();
    record.clearList("a");
    record.setNewValue("b", "2");
    EXPECT_EQ(record.getJsonFile(), R"({"b":"2","id":"0","a":[]})");
}

// An item that clears its own record while that is being read: clear() needs no more than the read
// lock, which the thread holds already.
TEST(ContainerClearTest, MayBeCalledByAThreadThatReadsTheRecord) {
    Container record;
    record.setNewValue("a", "1");
    record.addItemToList("list", std::make_unique<PrintedItem>([&]() -> std::string {
                             const auto self = record.takeItemFromList("list", 0);
                             record.clear();
                             // Away, rather than back into the walk through the cleared lists.
                             throw Exception("cleared", "item", 7);
                         }));
    EXPECT_EQ(messageOf([&] { record.getJsonFile(); }), "cleared");
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0"})");
}

}  // namespace

}  // namespace ponmgr::test
