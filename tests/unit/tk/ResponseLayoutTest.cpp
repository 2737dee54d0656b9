#include <gtest/gtest.h>

#include "model/Container.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseLayout.h"
#include "tk/TKMessage.h"

namespace ponmgr {
namespace {

using test::messageThrownBy;
using test::received;

std::unique_ptr<TKMessage> withData(const std::string& hex) {
    return received("00 07 00 01 00 00 00 00 " + hex);
}

constexpr ResponseField kEveryReader[] = {
    u8("a"), u16("b"), u64("c"), mac("d"), hex(3, "e"), skip(2), u8("f"),
};

TEST(ResponseLayout, ReadsEachFieldWithItsReaderBehindTheOneBefore) {
    const auto message =
        withData("01  01 00  00 00 00 00 00 00 00 09  00 0a f5 10 20 30  00 0a f5  ff ff  07");
    Container record;
    std::uint16_t offset = 0;
    readFields(kEveryReader, &offset, message.get(), record);
    EXPECT_EQ(
        record.getJsonFile(),
        R"({"a":"1","b":"256","c":"9","d":"00:0a:f5:10:20:30","e":"000af5","f":"7","id":"0"})");
    EXPECT_EQ(offset, 23);
}

TEST(ResponseLayout, SkippedBytesMayBeMissingAtTheEnd) {
    constexpr ResponseField layout[] = {u8("a"), skip(2)};
    const auto message = withData("01");
    Container record;
    std::uint16_t offset = 0;
    readFields(layout, &offset, message.get(), record);
    EXPECT_EQ(record.getValue("a"), "1");
}

TEST(ResponseLayout, ReadingStopsAtTheFirstFieldThatDoesNotFit) {
    constexpr ResponseField layout[] = {u8("a"), u16("b"), u8("c")};
    const auto message = withData("01 02");
    Container record;
    std::uint16_t offset = 0;
    EXPECT_EQ(messageThrownBy([&] { readFields(layout, &offset, message.get(), record); }),
              "Impossible to parse offset=1, length=2");
    EXPECT_TRUE(record.hasKey("a"));
    EXPECT_FALSE(record.hasKey("b"));
    EXPECT_FALSE(record.hasKey("c"));
}

constexpr ResponseField kPair[] = {u8("a"), u8("b")};

TEST(ResponseLayout, ListHasOneItemARecordInOrder) {
    const auto message = withData("ff 01 02 03 04");
    Container record;
    std::uint16_t offset = 1;
    readList(kPair, 2, "pairs", &offset, message.get(), record);
    EXPECT_EQ(record.getJsonFile(),
              R"({"id":"0","pairs":[{"a":"1","b":"2","id":"0"},{"a":"3","b":"4","id":"0"}]})");
    EXPECT_EQ(offset, 5);
}

TEST(ResponseLayout, ThereIsNoListWithoutRecords) {
    const auto message = withData("01 02");
    Container record;
    std::uint16_t offset = 0;
    readList(kPair, 0, "pairs", &offset, message.get(), record);
    EXPECT_FALSE(record.hasList("pairs"));
}

TEST(ResponseLayout, RecordThatDoesNotFitIsNotInTheList) {
    const auto message = withData("01 02 03");
    Container record;
    std::uint16_t offset = 0;
    EXPECT_EQ(messageThrownBy([&] { readList(kPair, 2, "pairs", &offset, message.get(), record); }),
              "Impossible to parse offset=3, length=1");
    EXPECT_EQ(record.getListSize("pairs"), 1U);
}

}  // namespace
}  // namespace ponmgr
