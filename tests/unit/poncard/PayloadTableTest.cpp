#include <gtest/gtest.h>

#include "poncard/PayloadTable.h"
#include "support/Bytes.h"

namespace ponmgr::test {

namespace {

std::string bytesOf(std::span<const PayloadField> fields) {
    TKMPayload payload;
    addFields(payload, fields);
    payload.buildPayload();
    return hexText(std::span(payload.getPayload(), payload.getSize()));
}

std::string bytesOf(const PayloadField& field) {
    return bytesOf(std::span(&field, 1));
}

}  // namespace

TEST(PayloadTable, AU8FieldIsOneByte) {
    EXPECT_EQ(bytesOf(u8Field(0)), "00");
    EXPECT_EQ(bytesOf(u8Field(0xA5)), "a5");
}

TEST(PayloadTable, AU16FieldHasItsMostSignificantByteFirst) {
    EXPECT_EQ(bytesOf(u16Field(0x0102)), "01 02");
    EXPECT_EQ(bytesOf(u16Field(0xFFFF)), "ff ff");
}

TEST(PayloadTable, AU32FieldHasItsMostSignificantByteFirst) {
    EXPECT_EQ(bytesOf(u32Field(0x01020304)), "01 02 03 04");
    EXPECT_EQ(bytesOf(u32Field(5)), "00 00 00 05");
}

TEST(PayloadTable, AU64FieldHasItsMostSignificantByteFirst) {
    EXPECT_EQ(bytesOf(u64Field(0xF102030405060708)), "f1 02 03 04 05 06 07 08");
    EXPECT_EQ(bytesOf(u64Field(1)), "00 00 00 00 00 00 00 01");
}

TEST(PayloadTable, ABooleanIsOneByteOfOneOrZero) {
    EXPECT_EQ(bytesOf(boolField(true)), "01");
    EXPECT_EQ(bytesOf(boolField(false)), "00");
}

TEST(PayloadTable, FieldsFollowEachOtherInTheirOrderBehindWhatIsThere) {
    constexpr PayloadField kFields[] = {u16Field(1), u8Field(2), u32Field(3)};
    TKMPayload payload;
    payload.addU8Number(9);
    addFields(payload, kFields);
    payload.buildPayload();
    EXPECT_EQ(hexText(std::span(payload.getPayload(), payload.getSize())),
              "09 00 01 02 00 00 00 03");
}

TEST(PayloadTable, NoFieldsAreNoBytes) {
    EXPECT_EQ(bytesOf(std::span<const PayloadField>()), "");
}

}  // namespace ponmgr::test
