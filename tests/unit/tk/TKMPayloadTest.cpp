#include <gtest/gtest.h>

#include <span>
#include <type_traits>

#include "FailingAllocation.h"
#include "support/Bytes.h"
#include "tk/TKMPayload.h"

namespace ponmgr {
namespace {

using test::FailingAllocation;
using test::hexText;

static_assert(std::has_virtual_destructor_v<TKMPayload>);

std::string builtBytes(const TKMPayload& payload) {
    return hexText(std::span(payload.getPayload(), payload.getSize()));
}

/// The bytes that this text is built into.
std::string built(const std::string& digits) {
    TKMPayload payload;
    payload.addHex(digits).buildPayload();
    return builtBytes(payload);
}

TEST(TKMPayload, StartsWithoutTextAndBytes) {
    const TKMPayload payload;
    EXPECT_EQ(payload.toString(), "");
    EXPECT_EQ(payload.getPayload(), nullptr);
    EXPECT_EQ(payload.getSize(), 0);
}

TEST(TKMPayload, U8IsTwoLowerCaseDigits) {
    EXPECT_EQ(TKMPayload().addU8Number(0x00).toString(), "00");
    EXPECT_EQ(TKMPayload().addU8Number(0x0A).toString(), "0a");
    EXPECT_EQ(TKMPayload().addU8Number(0xAB).toString(), "ab");
    EXPECT_EQ(TKMPayload().addU8Number(0xFF).toString(), "ff");
}

TEST(TKMPayload, U16IsMostSignificantByteFirst) {
    EXPECT_EQ(TKMPayload().addU16Number(0x0000).toString(), "0000");
    EXPECT_EQ(TKMPayload().addU16Number(0x0102).toString(), "0102");
    EXPECT_EQ(TKMPayload().addU16Number(0xFFFE).toString(), "fffe");
}

TEST(TKMPayload, U32IsMostSignificantByteFirst) {
    EXPECT_EQ(TKMPayload().addU32Number(1).toString(), "00000001");
    EXPECT_EQ(TKMPayload().addU32Number(0x01020304).toString(), "01020304");
    EXPECT_EQ(TKMPayload().addU32Number(0xFFFFFFFE).toString(), "fffffffe");
}

TEST(TKMPayload, BoolIsOneByteOfOneOrZero) {
    EXPECT_EQ(TKMPayload().addBool(true).toString(), "01");
    EXPECT_EQ(TKMPayload().addBool(false).toString(), "00");
}

TEST(TKMPayload, HexIsAppendedVerbatim) {
    EXPECT_EQ(TKMPayload().addHex("000AF5").addHex("").addHex("x y").toString(), "000AF5x y");
}

TEST(TKMPayload, FieldsFollowOneAnother) {
    TKMPayload payload;
    payload.addU16Number(0x1234).addU32Number(1).addBool(true);
    EXPECT_EQ(payload.toString(), "12340000000101");
    payload.buildPayload();
    EXPECT_EQ(builtBytes(payload), "12 34 00 00 00 01 01");
    EXPECT_EQ(payload.getSize(), 7);
}

TEST(TKMPayload, BytesAreAbsentUntilBuilt) {
    TKMPayload payload;
    payload.addU8Number(1);
    EXPECT_EQ(payload.getPayload(), nullptr);
    EXPECT_EQ(payload.getSize(), 0);
}

TEST(TKMPayload, EmptyTextIsBuiltIntoNoBytes) {
    TKMPayload payload;
    payload.buildPayload();
    EXPECT_EQ(payload.getSize(), 0);
}

TEST(TKMPayload, UpperCaseDigitsAreDigits) {
    EXPECT_EQ(built("ABcD"), "ab cd");
}

TEST(TKMPayload, OddLastDigitIsDropped) {
    EXPECT_EQ(built("123"), "12");
    EXPECT_EQ(built("1"), "");
}

TEST(TKMPayload, OddHexShiftsLaterFieldsByHalfAByte) {
    TKMPayload payload;
    payload.addHex("123").addU16Number(0xABCD).buildPayload();
    EXPECT_EQ(builtBytes(payload), "12 3a bc");
}

TEST(TKMPayload, PairThatBeginsWithALetterBeyondFIsZero) {
    EXPECT_EQ(built("zz"), "00");
    EXPECT_EQ(built("z1"), "00");
    EXPECT_EQ(built(":a"), "00");
}

TEST(TKMPayload, PairWhoseSecondCharacterIsNoDigitIsItsFirstDigit) {
    EXPECT_EQ(built("1z"), "01");
    EXPECT_EQ(built("f:"), "0f");
    EXPECT_EQ(built("0x"), "00");
}

// The pairs are read by the C library, which knows blanks and signs.
TEST(TKMPayload, PairOfBlankOrSignAndDigitIsReadAsASignedNumber) {
    EXPECT_EQ(built(" 5"), "05");
    EXPECT_EQ(built("+5"), "05");
    EXPECT_EQ(built("-1"), "ff");
    EXPECT_EQ(built("  "), "00");
}

TEST(TKMPayload, PairsThatAreNoNumberLeaveTheirNeighboursAlone) {
    EXPECT_EQ(built("12zz34"), "12 00 34");
}

TEST(TKMPayload, SizeIsKeptInSixteenBits) {
    TKMPayload payload;
    payload.addHex(std::string(2 * 65537, '1')).buildPayload();
    EXPECT_EQ(payload.getSize(), 1);
    EXPECT_EQ(builtBytes(payload), "11");
}

TEST(TKMPayload, BuildingAgainBuildsTheWholeText) {
    TKMPayload payload;
    payload.addU8Number(1).buildPayload();
    payload.addU8Number(2).buildPayload();
    EXPECT_EQ(builtBytes(payload), "01 02");
}

TEST(TKMPayload, FailedAllocationLeavesNoBytesAndSaysNothing) {
    TKMPayload payload;
    payload.addU8Number(1).buildPayload();
    {
        const FailingAllocation noMemory(FailingAllocation::Kind::NoThrow);
        payload.buildPayload();
    }
    EXPECT_EQ(payload.getPayload(), nullptr);
    EXPECT_EQ(payload.getSize(), 0);
    EXPECT_EQ(payload.toString(), "01");
}

TEST(TKMPayload, ClearEmptiesTextAndBytesForTheNextRequest) {
    TKMPayload payload;
    payload.addU8Number(1).buildPayload();
    payload.clear();
    EXPECT_EQ(payload.toString(), "");
    EXPECT_EQ(payload.getPayload(), nullptr);
    EXPECT_EQ(payload.getSize(), 0);
    payload.addU8Number(2).buildPayload();
    EXPECT_EQ(builtBytes(payload), "02");
}

TEST(TKMPayload, ClearPayloadKeepsTheText) {
    TKMPayload payload;
    payload.addU8Number(1).buildPayload();
    payload.clearPayload();
    EXPECT_EQ(payload.toString(), "01");
    EXPECT_EQ(payload.getPayload(), nullptr);
    EXPECT_EQ(payload.getSize(), 0);
}

TEST(TKMPayload, CloneHasTheSameTextAndBytesOfItsOwn) {
    TKMPayload payload;
    payload.addHex("0102").buildPayload();
    const auto copy = payload.clone();
    EXPECT_EQ(copy->toString(), "0102");
    EXPECT_EQ(builtBytes(*copy), "01 02");
    EXPECT_NE(copy->getPayload(), payload.getPayload());
}

TEST(TKMPayload, CloneOutlivesChangesOfItsSource) {
    TKMPayload payload;
    payload.addHex("0102").buildPayload();
    const auto copy = payload.clone();
    payload.clear();
    EXPECT_EQ(copy->toString(), "0102");
    EXPECT_EQ(builtBytes(*copy), "01 02");
}

TEST(TKMPayload, CloneOfUnbuiltTextHasNoBytes) {
    TKMPayload payload;
    payload.addHex("0102");
    const auto copy = payload.clone();
    EXPECT_EQ(copy->toString(), "0102");
    EXPECT_EQ(copy->getPayload(), nullptr);
    EXPECT_EQ(copy->getSize(), 0);
}

TEST(TKMPayload, CloneWhoseAllocationFailsKeepsTheSizeWithoutBytes) {
    TKMPayload payload;
    payload.addHex("0102").buildPayload();
    const FailingAllocation noMemory(FailingAllocation::Kind::NoThrow);
    const auto copy = payload.clone();
    EXPECT_EQ(copy->getPayload(), nullptr);
    EXPECT_EQ(copy->getSize(), 2);
    EXPECT_EQ(copy->toString(), "0102");
}

}  // namespace
}  // namespace ponmgr
