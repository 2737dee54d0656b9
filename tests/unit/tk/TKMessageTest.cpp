#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <type_traits>
#include <vector>

#include "FailingAllocation.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/RMParser.h"
#include "tk/TKMessage.h"

namespace ponmgr {
namespace {

using test::Bytes;
using test::bytes;
using test::FailingAllocation;
using test::hexText;
using test::messageThrownBy;
using test::originThrownBy;
using test::received;

static_assert(std::has_virtual_destructor_v<TKMessage>);

constexpr const char* kDataTooLong = "Impossible to set data greater than size created";

std::string dataOf(const TKMessage& message) {
    return hexText(std::span(message.getData(), message.getDataLength()));
}

TKMessage request(const Bytes& data) {
    return {TKIDMessage::SetPath, 0x1234, data.data(), static_cast<std::uint16_t>(data.size())};
}

TEST(TKMessage, RequestWithoutDataIsItsHeader) {
    const TKMessage message(TKIDMessage::GetOLTInformation, 1, nullptr, 0);
    EXPECT_EQ(hexText(message), "00 07 00 01 00 00");
    EXPECT_EQ(message.getSize(), 6);
    EXPECT_EQ(message.getDataLength(), 0);
}

TEST(TKMessage, RequestCarriesItsDataBehindTheHeaderAndItsLengthCountsTheData) {
    const TKMessage message = request(bytes("aa bb cc"));
    EXPECT_EQ(hexText(message), "01 78 12 34 00 03 aa bb cc");
    EXPECT_EQ(message.getSize(), 9);
    EXPECT_EQ(message.getLength(), 3);
    EXPECT_EQ(dataOf(message), "aa bb cc");
}

TEST(TKMessage, RequestIsNotReceivedAndHasNeitherResultNorSequence) {
    const TKMessage message = request(bytes("11 22 33 44 55 66"));
    EXPECT_FALSE(message.isReceived());
    EXPECT_FALSE(message.getHasSequence());
    EXPECT_EQ(message.getResult(), 0);
    EXPECT_EQ(message.getSequence(), 0);
}

TEST(TKMessage, RequestKeepsItsOwnCopyOfTheData) {
    Bytes data = bytes("aa bb");
    const TKMessage message = request(data);
    std::fill(data.begin(), data.end(), 0);
    EXPECT_EQ(dataOf(message), "aa bb");
}

TEST(TKMessage, RequestOfNullDataWithALengthHasRoomForThatLength) {
    const TKMessage message(TKIDMessage::SetPath, 2, nullptr, 3);
    EXPECT_EQ(message.getSize(), 9);
    EXPECT_EQ(hexText(message), "01 78 00 02 00 03 00 00 00");
}

TEST(TKMessage, RequestOfDataWithLengthZeroCarriesNone) {
    const Bytes data = bytes("aa");
    const TKMessage message(TKIDMessage::SetPath, 2, data.data(), 0);
    EXPECT_EQ(hexText(message), "01 78 00 02 00 00");
}

TEST(TKMessage, LongestRequestFillsASixteenBitSize) {
    const Bytes data(65529, 0x5A);
    const TKMessage message = request(data);
    EXPECT_EQ(message.getSize(), 65535);
    EXPECT_EQ(message.getLength(), 65529);
    EXPECT_EQ(message.getMessage()[65534], 0x5A);
}

TEST(TKMessage, DataWhoseFrameSizeWrapsIsRefused) {
    for (const std::size_t length : {std::size_t{65530}, std::size_t{65535}}) {
        const Bytes data(length, 0x5A);
        EXPECT_EQ(messageThrownBy([&] { request(data); }), kDataTooLong) << length;
    }
}

TEST(TKMessage, LengthWhoseFrameSizeWrapsIsRefusedWithoutDataToo) {
    EXPECT_EQ(messageThrownBy([] { TKMessage(TKIDMessage::SetPath, 1, nullptr, 65535); }),
              kDataTooLong);
}

TEST(TKMessage, ResponseHasAHeaderOfEightBytesWithAResult) {
    const auto message = received("00 07 12 34 00 05 ab cd 01 02 03");
    EXPECT_EQ(message->getId(), 0x0007);
    EXPECT_EQ(message->getCtag(), 0x1234);
    EXPECT_EQ(message->getLength(), 5);
    EXPECT_EQ(message->getResult(), 0xABCD);
    EXPECT_EQ(message->getSequence(), 0);
    EXPECT_EQ(dataOf(*message), "01 02 03");
    EXPECT_TRUE(message->isReceived());
    EXPECT_FALSE(message->getHasSequence());
}

TEST(TKMessage, OltReadyHasAHeaderOfSixBytesWithoutAResult) {
    const auto message = received("80 00 00 01 00 04 ab cd ef 01");
    EXPECT_EQ(message->getId(), 0x8000);
    EXPECT_EQ(message->getResult(), 0);
    EXPECT_EQ(message->getSequence(), 0);
    EXPECT_EQ(dataOf(*message), "ab cd ef 01");
    EXPECT_TRUE(message->isReceived());
    EXPECT_FALSE(message->getHasSequence());
}

TEST(TKMessage, EventHasAHeaderOfTenBytesWithResultAndSequence) {
    const auto message = received("80 1a 00 02 00 07 ab cd 12 34 99 88 77");
    EXPECT_EQ(message->getResult(), 0xABCD);
    EXPECT_EQ(message->getSequence(), 0x1234);
    EXPECT_EQ(dataOf(*message), "99 88 77");
    EXPECT_TRUE(message->isReceived());
    EXPECT_TRUE(message->getHasSequence());
}

TEST(TKMessage, HeaderFormChangesExactlyAroundTheFirstEventId) {
    EXPECT_EQ(dataOf(*received("7f ff 00 00 00 00 11 11 22 22 33")), "22 22 33");
    EXPECT_EQ(dataOf(*received("80 00 00 00 00 00 11 11 22 22 33")), "11 11 22 22 33");
    EXPECT_EQ(dataOf(*received("80 01 00 00 00 00 11 11 22 22 33")), "33");
    EXPECT_EQ(dataOf(*received("ff ff 00 00 00 00 11 11 22 22 33")), "33");
    EXPECT_EQ(dataOf(*received("00 00 00 00 00 00 11 11 22 22 33")), "22 22 33");
}

TEST(TKMessage, DatagramBelowEightBytesIsRefused) {
    const Bytes datagram = bytes("80 00 00 01 00 00 00");
    for (std::uint16_t size = 0; size <= 7; size++) {
        EXPECT_EQ(originThrownBy([&] { TKMessage(datagram.data(), size); }),
                  "TKMessage: Impossible to create TKMessage with small size")
            << size;
    }
}

TEST(TKMessage, DatagramOfEightBytesIsAcceptedWhateverItsId) {
    EXPECT_EQ(received("00 07 00 01 00 02 00 00")->getDataLength(), 0);
    EXPECT_EQ(received("80 00 00 01 00 02 00 00")->getDataLength(), 2);
    EXPECT_EQ(received("80 1a 00 01 00 02 00 00")->getSize(), 8);
}

TEST(TKMessage, EventShorterThanItsHeaderHasAWrappedDataLengthButNothingToRead) {
    const auto message = received("80 1a 00 01 00 02 ab cd");
    EXPECT_EQ(message->getDataLength(), 65534);
    EXPECT_EQ(message->getAvailableLength(), 0);
    EXPECT_EQ(message->getResult(), 0xABCD);
    EXPECT_EQ(message->getSequence(), 0);
    EXPECT_LE(message->getData(), message->getMessage() + message->getSize());
}

TEST(TKMessage, EventOfNineBytesHasHalfASequenceWhichIsNotRead) {
    const auto message = received("80 1a 00 01 00 02 ab cd ff");
    EXPECT_EQ(message->getDataLength(), 65535);
    EXPECT_EQ(message->getAvailableLength(), 0);
    EXPECT_EQ(message->getSequence(), 0);
}

TEST(TKMessage, EventOfTenBytesHasASequenceAndNoData) {
    const auto message = received("80 1a 00 01 00 04 00 00 12 34");
    EXPECT_EQ(message->getDataLength(), 0);
    EXPECT_EQ(message->getAvailableLength(), 0);
    EXPECT_EQ(message->getSequence(), 0x1234);
}

TEST(TKMessage, ReadersRefuseAnEventShorterThanItsHeader) {
    const auto message = received("80 1a 00 01 00 02 ab cd");
    std::uint16_t offset = 0;
    EXPECT_EQ(messageThrownBy([&] { RMParser::parseU8Number(&offset, message.get()); }),
              "Impossible to parse offset=0, length=1");
    EXPECT_EQ(messageThrownBy([&] { RMParser::parseHex(&offset, message.get(), 65534); }),
              "Impossible to parse offset=0, length=65534");
}

TEST(TKMessage, LengthFieldOfAReceivedFrameDoesNotBoundItsData) {
    EXPECT_EQ(dataOf(*received("00 07 00 01 00 00 00 00 01 02 03")), "01 02 03");
    EXPECT_EQ(dataOf(*received("00 07 00 01 ff ff 00 00 01 02 03")), "01 02 03");
}

TEST(TKMessage, LargestDatagramIsKeptWhole) {
    Bytes datagram(1500, 0x5A);
    datagram[0] = 0x00;
    datagram[1] = 0x07;
    datagram[1499] = 0xA5;
    const TKMessage message(datagram.data(), 1500);
    EXPECT_EQ(message.getSize(), 1500);
    EXPECT_EQ(message.getDataLength(), 1492);
    EXPECT_EQ(message.getData()[1491], 0xA5);
}

TEST(TKMessage, ReceivedFrameIsACopyOfTheDatagram) {
    Bytes datagram = bytes("00 07 00 01 00 03 00 00 aa");
    const TKMessage message(datagram.data(), 9);
    std::fill(datagram.begin(), datagram.end(), 0);
    EXPECT_EQ(hexText(message), "00 07 00 01 00 03 00 00 aa");
}

TEST(TKMessage, SettersWriteTheirFieldsMostSignificantByteFirst) {
    const auto message = received("00 00 00 00 00 00 00 00 ee");
    message->setId(static_cast<TKIDMessage>(0x0102));
    message->setCtag(0x0304);
    message->setLength(0x0506);
    message->setResult(0x0708);
    EXPECT_EQ(hexText(*message), "01 02 03 04 05 06 07 08 ee");
    EXPECT_EQ(message->getId(), 0x0102);
    EXPECT_EQ(message->getCtag(), 0x0304);
    EXPECT_EQ(message->getLength(), 0x0506);
    EXPECT_EQ(message->getResult(), 0x0708);
}

TEST(TKMessage, ResultWrittenToARequestWithoutDataStaysInsideTheFrame) {
    TKMessage message(TKIDMessage::SetPath, 1, nullptr, 0);
    message.setResult(0xFFFF);
    EXPECT_EQ(hexText(message), "01 78 00 01 00 00");
}

TEST(TKMessage, SetDataCopiesBehindTheHeaderUpToTheWholeRoom) {
    TKMessage message = request(bytes("aa bb cc"));
    const Bytes data = bytes("01 02 03");
    message.setData(data.data(), 2);
    EXPECT_EQ(hexText(message), "01 78 12 34 00 03 01 02 cc");
    message.setData(data.data(), 3);
    EXPECT_EQ(hexText(message), "01 78 12 34 00 03 01 02 03");
}

TEST(TKMessage, SetDataBehindAReceivedHeaderStartsAtTheData) {
    const auto message = received("00 07 00 01 00 04 00 00 aa bb");
    const Bytes data = bytes("01 02 03");
    message->setData(data.data(), 2);
    EXPECT_EQ(hexText(*message), "00 07 00 01 00 04 00 00 01 02");
    EXPECT_EQ(messageThrownBy([&] { message->setData(data.data(), 3); }), kDataTooLong);
}

TEST(TKMessage, SetDataLongerThanTheRoomIsRefusedAndCopiesNothing) {
    TKMessage message = request(bytes("aa bb cc"));
    const Bytes data = bytes("01 02 03 04");
    EXPECT_EQ(originThrownBy([&] { message.setData(data.data(), 4); }),
              "setData: Impossible to set data greater than size created");
    EXPECT_EQ(hexText(message), "01 78 12 34 00 03 aa bb cc");
}

TEST(TKMessage, SetDataIsRefusedWhereTheFrameIsShorterThanItsHeader) {
    const auto message = received("80 1a 00 01 00 02 ab cd");
    const Bytes data = bytes("01");
    EXPECT_EQ(messageThrownBy([&] { message->setData(data.data(), 1); }), kDataTooLong);
}

TEST(TKMessage, NewDataReplacesTheFrameByOneOfThatSize) {
    TKMessage message = request(bytes("aa bb cc"));
    message.newData(8);
    EXPECT_EQ(message.getSize(), 8);
    EXPECT_EQ(message.getDataLength(), 2);
    EXPECT_EQ(hexText(message), "00 00 00 00 00 00 00 00");
}

TEST(TKMessage, FieldsOfAFrameThatIsTooShortForThemAreZero) {
    TKMessage message = request(bytes("aa bb cc"));
    message.newData(3);
    message.setCtag(0x1234);
    EXPECT_EQ(message.getCtag(), 0);
    EXPECT_EQ(message.getLength(), 0);
    EXPECT_EQ(hexText(message), "00 00 00");
}

TEST(TKMessage, FailedAllocationNamesTheSizeOfARequestsFrame) {
    const Bytes data = bytes("aa bb cc");
    const FailingAllocation noMemory(FailingAllocation::Kind::NoThrow);
    EXPECT_EQ(originThrownBy([&] { request(data); }),
              "newData: Not enough memory to allocate a new TKMessage with size9");
}

TEST(TKMessage, FailedAllocationNamesTheSizeOfAReceivedFrame) {
    const Bytes datagram(1500, 0);
    const FailingAllocation noMemory(FailingAllocation::Kind::NoThrow);
    EXPECT_EQ(originThrownBy([&] { TKMessage(datagram.data(), 1500); }),
              "newData: Not enough memory to allocate a new TKMessage with size1500");
}

TEST(TKMessage, FrameIsEmptyAfterNewDataFailed) {
    TKMessage message = request(bytes("aa bb cc"));
    {
        const FailingAllocation noMemory(FailingAllocation::Kind::NoThrow);
        EXPECT_EQ(messageThrownBy([&] { message.newData(20); }),
                  "Not enough memory to allocate a new TKMessage with size20");
    }
    EXPECT_EQ(message.getSize(), 0);
    EXPECT_EQ(message.getId(), 0);
    EXPECT_EQ(message.getAvailableLength(), 0);
}

TEST(TKMessage, DebugPrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    request(bytes("aa")).debug();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace ponmgr
