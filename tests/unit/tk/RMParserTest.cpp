#include <gtest/gtest.h>

#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/RMParser.h"
#include "tk/TKMessage.h"

namespace ponmgr {
namespace {

using test::Bytes;
using test::messageThrownBy;
using test::originThrownBy;
using test::received;

/// A response whose data are these bytes.
std::unique_ptr<TKMessage> withData(const std::string& hex) {
    return received("00 07 00 01 00 00 00 00 " + hex);
}

/// A response of the largest possible size, whose data are 65527 bytes 0x5a.
std::unique_ptr<TKMessage> largestMessage() {
    const Bytes datagram(65535, 0x5A);
    auto message = std::make_unique<TKMessage>(datagram.data(), std::uint16_t{65535});
    return message;
}

TEST(RMParser, U8IsUnsignedDecimal) {
    const auto message = withData("00 01 7f 80 ff");
    std::uint16_t offset = 0;
    for (const char* expected : {"0", "1", "127", "128", "255"}) {
        EXPECT_EQ(RMParser::parseU8Number(&offset, message.get()), expected);
    }
    EXPECT_EQ(offset, 5);
}

TEST(RMParser, U16IsBigEndianUnsignedDecimal) {
    const auto message = withData("00 00 01 00 00 01 80 00 ff ff");
    std::uint16_t offset = 0;
    for (const char* expected : {"0", "256", "1", "32768", "65535"}) {
        EXPECT_EQ(RMParser::parseU16Number(&offset, message.get()), expected);
    }
    EXPECT_EQ(offset, 10);
}

TEST(RMParser, U64IsBigEndianUnsignedDecimal) {
    const auto message = withData(
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 01 00  80 00 00 00 00 00 00 00"
        "ff ff ff ff ff ff ff ff  01 02 03 04 05 06 07 08");
    std::uint16_t offset = 0;
    for (const char* expected :
         {"0", "256", "9223372036854775808", "18446744073709551615", "72623859790382856"}) {
        EXPECT_EQ(RMParser::parseU64Number(&offset, message.get()), expected);
    }
    EXPECT_EQ(offset, 40);
}

TEST(RMParser, MacIsSixLowerCasePairsWithColons) {
    const auto message = withData("00 0a ff 10 20 30");
    std::uint16_t offset = 0;
    EXPECT_EQ(RMParser::parseMacAddr(&offset, message.get()), "00:0a:ff:10:20:30");
    EXPECT_EQ(offset, 6);
}

TEST(RMParser, HexIsLowerCasePairsWithoutSeparator) {
    const auto message = withData("00 a1 f5");
    std::uint16_t offset = 0;
    EXPECT_EQ(RMParser::parseHex(&offset, message.get(), 3), "00a1f5");
    EXPECT_EQ(offset, 3);
}

TEST(RMParser, HexOfLengthZeroIsEmptyEvenAtTheEnd) {
    const auto message = withData("00 a1");
    std::uint16_t offset = 2;
    EXPECT_EQ(RMParser::parseHex(&offset, message.get(), 0), "");
    EXPECT_EQ(offset, 2);
}

TEST(RMParser, ReadersStartAtTheCursor) {
    const auto message = withData("ff 01 02 03 04 05 06 07 08");
    std::uint16_t offset = 1;
    EXPECT_EQ(RMParser::parseU8Number(&offset, message.get()), "1");
    offset = 1;
    EXPECT_EQ(RMParser::parseU16Number(&offset, message.get()), "258");
    offset = 1;
    EXPECT_EQ(RMParser::parseU64Number(&offset, message.get()), "72623859790382856");
    offset = 1;
    EXPECT_EQ(RMParser::parseMacAddr(&offset, message.get()), "01:02:03:04:05:06");
    offset = 1;
    EXPECT_EQ(RMParser::parseHex(&offset, message.get(), 2), "0102");
}

using Reader = std::string (*)(std::uint16_t*, const TKMessage*);

struct ReaderCase {
    const char* name;
    Reader read;
    std::uint16_t width;
};

constexpr ReaderCase kReaders[] = {
    {"U8", &RMParser::parseU8Number, 1},
    {"U16", &RMParser::parseU16Number, 2},
    {"U64", &RMParser::parseU64Number, 8},
    {"Mac", &RMParser::parseMacAddr, 6},
    {"Hex5",
     [](std::uint16_t* offset, const TKMessage* message) {
         return RMParser::parseHex(offset, message, 5);
     },
     5},
};

std::string refusal(unsigned offset, unsigned width) {
    return "Impossible to parse offset=" + std::to_string(offset) +
           ", length=" + std::to_string(width);
}

class RMParserReader : public testing::TestWithParam<ReaderCase> {};

INSTANTIATE_TEST_SUITE_P(, RMParserReader, testing::ValuesIn(kReaders),
                         [](const auto& entry) { return std::string(entry.param.name); });

TEST_P(RMParserReader, ReadsTheLastBytesOfTheData) {
    const auto message = withData("01 02 03 04 05 06 07 08 09 0a");
    auto offset = static_cast<std::uint16_t>(10 - GetParam().width);
    EXPECT_FALSE(GetParam().read(&offset, message.get()).empty());
    EXPECT_EQ(offset, 10);
}

TEST_P(RMParserReader, RefusesAFieldThatEndsOneByteBeyondTheData) {
    const auto message = withData("01 02 03 04 05 06 07 08 09 0a");
    auto offset = static_cast<std::uint16_t>(10 - GetParam().width + 1);
    const std::uint16_t before = offset;
    EXPECT_EQ(originThrownBy([&] { GetParam().read(&offset, message.get()); }),
              "checkValidOffset: " + refusal(before, GetParam().width));
    EXPECT_EQ(offset, before);
}

TEST_P(RMParserReader, RefusesToReadWithoutAnyData) {
    const auto message = withData("");
    std::uint16_t offset = 0;
    EXPECT_EQ(messageThrownBy([&] { GetParam().read(&offset, message.get()); }),
              refusal(0, GetParam().width));
}

TEST_P(RMParserReader, RefusesTheLastCursorInsteadOfWrapping) {
    const auto message = largestMessage();
    std::uint16_t offset = 65535;
    EXPECT_EQ(messageThrownBy([&] { GetParam().read(&offset, message.get()); }),
              refusal(65535, GetParam().width));
    EXPECT_EQ(offset, 65535);
}

TEST_P(RMParserReader, ReadsAtTheStartForANullCursor) {
    const auto message = withData("01 02 03 04 05 06 07 08 09 0a");
    std::uint16_t offset = 0;
    const std::string atStart = GetParam().read(&offset, message.get());
    EXPECT_EQ(GetParam().read(nullptr, message.get()), atStart);
}

TEST_P(RMParserReader, NamesOffsetZeroForANullCursor) {
    const auto message = withData("");
    EXPECT_EQ(messageThrownBy([&] { GetParam().read(nullptr, message.get()); }),
              refusal(0, GetParam().width));
}

TEST(RMParser, ReadPastTheDataNamesOffsetAndLength) {
    const auto message = withData("01 02 03 04");
    std::uint16_t offset = 3;
    EXPECT_EQ(messageThrownBy([&] { RMParser::parseU16Number(&offset, message.get()); }),
              "Impossible to parse offset=3, length=2");
}

TEST(RMParser, HexOfTheGreatestLengthIsRefusedInsteadOfWrapping) {
    const auto message = withData("01 02 03 04");
    std::uint16_t offset = 4;
    EXPECT_EQ(messageThrownBy([&] { RMParser::parseHex(&offset, message.get(), 65535); }),
              "Impossible to parse offset=4, length=65535");
}

TEST(RMParser, HexReadsAllDataOfTheLargestMessage) {
    const auto message = largestMessage();
    std::uint16_t offset = 0;
    const std::uint16_t all = message->getAvailableLength();
    EXPECT_EQ(RMParser::parseHex(&offset, message.get(), all).size(), 2U * all);
    EXPECT_EQ(offset, all);
}

TEST(RMParser, CheckReturnsTheCursorUnchanged) {
    const auto message = withData("01 02 03 04");
    const std::uint16_t offset = 3;
    EXPECT_EQ(RMParser::checkValidOffset(&offset, message.get(), 1), 3);
    EXPECT_EQ(RMParser::checkValidOffset(nullptr, message.get(), 4), 0);
}

TEST(RMParser, CheckAcceptsNoBytesAtTheEndAndRefusesThemBehindIt) {
    const auto message = withData("01 02 03 04");
    std::uint16_t offset = 4;
    EXPECT_EQ(RMParser::checkValidOffset(&offset, message.get(), 0), 4);
    offset = 5;
    EXPECT_EQ(messageThrownBy([&] { RMParser::checkValidOffset(&offset, message.get(), 0); }),
              "Impossible to parse offset=5, length=0");
}

TEST(RMParser, DataOfOltReadyStartBehindItsSixByteHeader) {
    const auto message = received("80 00 00 01 00 02 12 34");
    std::uint16_t offset = 0;
    EXPECT_EQ(RMParser::parseU16Number(&offset, message.get()), "4660");
}

TEST(RMParser, DataOfAnEventStartBehindItsTenByteHeader) {
    const auto message = received("80 1a 00 01 00 06 00 00 00 07 12 34");
    std::uint16_t offset = 0;
    EXPECT_EQ(RMParser::parseU16Number(&offset, message.get()), "4660");
}

}  // namespace
}  // namespace ponmgr
