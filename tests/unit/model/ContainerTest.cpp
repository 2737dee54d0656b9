// Values, id and the modified flag.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <type_traits>

#include "Failure.h"
#include "model/Container.h"

namespace ponmgr::test {

namespace {

static_assert(std::has_virtual_destructor_v<Container>);
static_assert(!std::is_copy_constructible_v<Container>);

TEST(ContainerTest, ANewRecordIsItsIdZeroAndNothingElse) {
    EXPECT_EQ(Container().getJsonFile(), R"({"id":"0"})");
}

TEST(ContainerTest, ANewRecordIsNotModified) {
    EXPECT_FALSE(Container().getHasModified());
}

TEST(ContainerTest, HasAKeyOnceItIsLaidOut) {
    Container record;
    EXPECT_TRUE(record.hasKey("id"));
    EXPECT_FALSE(record.hasKey("a"));
    record.setNewValue("a", "");
    EXPECT_TRUE(record.hasKey("a"));
    EXPECT_FALSE(record.hasKey("A"));
}

TEST(ContainerTest, AListIsNoKey) {
    Container record;
    record.addItemToList("list", std::make_unique<Container>());
    EXPECT_FALSE(record.hasKey("list"));
    EXPECT_EQ(messageOf([&] { record.getValue("list"); }), "Key 'list' not found");
}

TEST(ContainerTest, SetNewValueCreatesAKey) {
    Container record;
    record.setNewValue("a", "1");
    EXPECT_EQ(record.getValue("a"), "1");
}

TEST(ContainerTest, SetNewValueOverwritesAKey) {
    Container record;
    record.setNewValue("a", "1");
    record.setNewValue("a", "2");
    EXPECT_EQ(record.getValue("a"), "2");
}

TEST(ContainerTest, SetNewValueLeavesTheModifiedFlag) {
    Container record;
    record.setNewValue("a", "1");
    record.setNewValue("a", "2");
    record.setNewValue("id", "7");
    EXPECT_FALSE(record.getHasModified());
    record.setValue("a", "3", true);
    record.setNewValue("a", "4");
    EXPECT_TRUE(record.getHasModified());
}

TEST(ContainerTest, SetNewValueRefusesTheNameOfAList) {
    Container record;
    record.addItemToList("a", std::make_unique<Container>());
    EXPECT_EQ(whatOf([&] { record.setNewValue("a", "1"); }),
              "setNewValue[122]: Can't convert list 'a' to a object");
    EXPECT_FALSE(record.hasKey("a"));
    EXPECT_EQ(record.getListSize("a"), 1U);
}

TEST(ContainerTest, SetNewValueRefusesTheNameOfAnEmptyList) {
    Container record;
    record.clearList("a");
    EXPECT_EQ(messageOf([&] { record.setNewValue("a", "1"); }),
              "Can't convert list 'a' to a object");
}

TEST(ContainerTest, AValueThatThereIsNotIsNamed) {
    EXPECT_EQ(whatOf([] { Container().getValue("a"); }), "getValue[97]: Key 'a' not found");
    EXPECT_EQ(whatOf([] { Container().getValue(""); }), "getValue[97]: Key '' not found");
}

TEST(ContainerTest, SetValueStoresAnotherValueAndMarksTheRecord) {
    Container record;
    record.setNewValue("a", "1");
    record.setValue("a", "2", false);
    EXPECT_EQ(record.getValue("a"), "2");
    EXPECT_TRUE(record.getHasModified());
}

TEST(ContainerTest, SetValueOfTheSameValueLeavesTheModifiedFlag) {
    Container record;
    record.setNewValue("a", "1");
    record.setValue("a", "1", true);
    EXPECT_FALSE(record.getHasModified());
    record.setValue("a", "2", true);
    record.setValue("a", "2", true);
    EXPECT_TRUE(record.getHasModified());
}

TEST(ContainerTest, SetValueTakesAnyText) {
    Container record;
    record.setValue("id", "", true);
    EXPECT_EQ(record.getValue("id"), "");
    record.setValue("id", "no number", true);
    EXPECT_EQ(record.getValue("id"), "no number");
}

TEST(ContainerTest, SetValueNeverCreatesAKey) {
    Container record;
    record.setValue("a", "1", false);
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0"})");
    EXPECT_FALSE(record.getHasModified());
    EXPECT_EQ(messageOf([&] { record.getValue("a"); }), "Key 'a' not found");
}

TEST(ContainerTest, SetValueNamesAKeyThatMustExist) {
    Container record;
    EXPECT_EQ(whatOf([&] { record.setValue("a", "1", true); }), "setValue[114]: Key 'a' not found");
    EXPECT_EQ(record.getJsonFile(), R"({"id":"0"})");
    EXPECT_FALSE(record.getHasModified());
}

TEST(ContainerTest, TheModifiedFlagIsClearedUntilTheNextChange) {
    Container record;
    record.setValue("id", "1", true);
    record.clearHasModified();
    EXPECT_FALSE(record.getHasModified());
    record.setValue("id", "2", true);
    EXPECT_TRUE(record.getHasModified());
}

TEST(ContainerTest, TheIdOfANewRecordIsZero) {
    EXPECT_EQ(Container().getId(), 0U);
}

TEST(ContainerTest, SetIdStoresDecimalAndMarksTheRecord) {
    Container record;
    record.setId(4711);
    EXPECT_EQ(record.getValue("id"), "4711");
    EXPECT_EQ(record.getId(), 4711U);
    EXPECT_TRUE(record.getHasModified());
}

TEST(ContainerTest, SetIdTakesTheLargestNumber) {
    Container record;
    record.setId(std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(record.getValue("id"), "18446744073709551615");
    EXPECT_EQ(record.getId(), std::numeric_limits<unsigned long>::max());
}

TEST(ContainerTest, SetIdOfTheSameNumberLeavesTheModifiedFlag) {
    Container record;
    record.setId(0);
    EXPECT_FALSE(record.getHasModified());
}

struct IdText {
    const char* text;
    unsigned long id;
};

class ContainerIdTest : public testing::TestWithParam<IdText> {};

TEST_P(ContainerIdTest, IsReadInTheBaseOfItsPrefix) {
    Container record;
    record.setNewValue("id", GetParam().text);
    EXPECT_EQ(record.getId(), GetParam().id);
}

INSTANTIATE_TEST_SUITE_P(
    All, ContainerIdTest,
    testing::Values(IdText{"010", 8}, IdText{"0x10", 16}, IdText{"0X1f", 31}, IdText{"10", 10},
                    IdText{"089", 0}, IdText{" 12x", 12}, IdText{"", 0}, IdText{"x", 0},
                    IdText{"18446744073709551616", std::numeric_limits<unsigned long>::max()}));

// The id of a record can only be lost by a class derived from it.
class RecordWithoutId : public Container {
public:
    RecordWithoutId() { values.erase("id"); }
};

TEST(ContainerTest, AMissingIdIsNamed) {
    EXPECT_EQ(whatOf([] { RecordWithoutId().getId(); }), "getValue[97]: Key 'id' not found");
}

TEST(ContainerTest, SetIdDoesNotCreateAMissingId) {
    RecordWithoutId record;
    record.setId(7);
    EXPECT_FALSE(record.hasKey("id"));
}

}  // namespace

}  // namespace ponmgr::test
