#include "ChassisFixture.h"
#include "sim/Wire.h"

namespace ponmgr::sim {
namespace {

TEST(Writer, PutsTheMostSignificantByteFirst) {
    Writer writer;
    writer.u8(0x01);
    writer.u16(0x0203);
    writer.u32(0x04050607);
    writer.u64(0x08090A0B0C0D0E0F);
    EXPECT_EQ(hexText(writer.view()), "0102030405060708090a0b0c0d0e0f");
}

TEST(Writer, FillsShortTextWithZerosAndCutsLongText) {
    Writer writer;
    writer.text("ab", 3);
    writer.text("abcd", 3);
    EXPECT_EQ(hexText(writer.view()), "616200616263");
}

TEST(Reader, ReadsTheMostSignificantByteFirst) {
    const auto bytes = bytesOf("01 0203 0405060708090a0b");
    Reader reader(bytes);
    EXPECT_EQ(reader.u8(), 0x01);
    EXPECT_EQ(reader.u16(), 0x0203);
    EXPECT_EQ(reader.number(8), 0x0405060708090A0BU);
    EXPECT_TRUE(reader.complete());
}

TEST(Reader, YieldsZeroPastTheEndAndStaysFailed) {
    const auto bytes = bytesOf("01");
    Reader reader(bytes);
    EXPECT_EQ(reader.u16(), 0);
    EXPECT_TRUE(reader.failed());
    EXPECT_EQ(reader.u8(), 0);
    EXPECT_FALSE(reader.complete());
}

TEST(Reader, IsNotCompleteWithBytesLeft) {
    const auto bytes = bytesOf("0102");
    Reader reader(bytes);
    reader.u8();
    EXPECT_FALSE(reader.failed());
    EXPECT_FALSE(reader.complete());
}

TEST(RequestFrame, IsReadFromSixBytesOfHeaderAndThePayload) {
    const auto bytes = bytesOf("01b3 0102 0002 0a0b");
    const auto request = readRequest(bytes);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->id, 435);
    EXPECT_EQ(request->ctag, 0x0102);
    EXPECT_EQ(hexText(request->payload), "0a0b");
    EXPECT_TRUE(request->lengthAgrees());
}

TEST(RequestFrame, NeedsAWholeHeader) {
    EXPECT_FALSE(readRequest(bytesOf("0007000100")));
    EXPECT_TRUE(readRequest(bytesOf("000700010000")));
}

TEST(RequestFrame, TellsALengthFieldThatDisagrees) {
    EXPECT_FALSE(readRequest(bytesOf("0007 0001 0001"))->lengthAgrees());
    EXPECT_FALSE(readRequest(bytesOf("0007 0001 0000 00"))->lengthAgrees());
}

TEST(AnswerFrame, CountsTheResultAndTheDataInItsLength) {
    Writer frame;
    beginAnswer(frame, 381, 0x1234);
    frame.u32(0x04020001);
    finishAnswer(frame, Result::ok);
    EXPECT_EQ(hexText(frame.view()), hex("017d1234 0006 0000 04020001"));
}

TEST(AnswerFrame, OfAFailureCarriesNoData) {
    Writer frame;
    beginAnswer(frame, 381, 1);
    frame.u32(0x04020001);
    finishAnswer(frame, Result::parameterOutOfRange);
    EXPECT_EQ(hexText(frame.view()), hex("017d0001 0002 0003"));
}

TEST(OltReadyFrame, HasSixBytesOfHeaderAndCountsItsDataAlone) {
    Writer frame;
    beginOltReady(frame);
    frame.u16(0xABCD);
    finishOltReady(frame);
    EXPECT_EQ(hexText(frame.view()), "800000000002abcd");
}

}  // namespace
}  // namespace ponmgr::sim
