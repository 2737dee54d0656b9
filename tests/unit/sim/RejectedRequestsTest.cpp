#include "ChassisFixture.h"
#include "sim/CardRequests.h"
#include "sim/RequestNames.h"

namespace ponmgr::sim {
namespace {

class RejectedRequests : public ChassisFixture {};

TEST_F(RejectedRequests, OfAnUnknownIdAreUnsupported) {
    EXPECT_EQ(ask(999), hex("03e7 0001 0002 0001"));
    EXPECT_EQ(ask(0x7FFF, "0102"), hex("7fff 0001 0002 0001"));
}

TEST_F(RejectedRequests, WithALengthThatDisagreesAreOutOfRange) {
    deliver("0007 0005 0001");
    deliver("0007 0006 0000 00");
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].hex, hex("0007 0005 0002 0003"));
    EXPECT_EQ(sent[1].hex, hex("0007 0006 0002 0003"));
}

TEST_F(RejectedRequests, ThatTakeNoPayloadAreOutOfRangeWithOne) {
    for (const int id : {6, 7, 8, 9, 68, 118, 301, 377, 381}) {
        EXPECT_EQ(resultOf(static_cast<std::uint16_t>(id), "00"), 3) << id;
    }
    EXPECT_FALSE(card().resetting);
}

TEST_F(RejectedRequests, NamingAPonPortThatIsNotThereAreOutOfRange) {
    EXPECT_EQ(resultOf(544, kMac + "0002 0010"), 3);
    EXPECT_EQ(resultOf(312, "05" + kMac + "0100 000b ff 04"), 3);
}

TEST_F(RejectedRequests, WithABooleanOtherThanOneAndZeroAreOutOfRange) {
    EXPECT_EQ(resultOf(302, "02"), 3);
    EXPECT_TRUE(card().nvsAfterNextBoot);
    EXPECT_EQ(resultOf(80, "00050000 00 18 02 01 00 01"), 3);
}

TEST_F(RejectedRequests, ForExtensionSetsNeedTheirLeadTheMacAndKnownTypes) {
    EXPECT_EQ(resultOf(435, "07" + kMac + "0200"), 3);
    EXPECT_EQ(resultOf(435, "08 000db6000002 0200"), 3);
    EXPECT_EQ(resultOf(435, "08" + kMac + "0500"), 3);
    EXPECT_EQ(resultOf(435, "08" + kMac + "0201"), 3);
    EXPECT_EQ(resultOf(435, "08" + kMac + "02"), 3);
    EXPECT_EQ(resultOf(435, "08" + kMac + "02000200020002000200"), 3);
}

TEST_F(RejectedRequests, WithOneBadExtensionSetChangeNone) {
    const std::string good = "02 05 00 111111 01";
    EXPECT_EQ(resultOf(436, "08" + kMac + good + "05 05 00 111111 01"), 3);
    EXPECT_EQ(resultOf(436, "08" + kMac + good + "01 04 00 111111 01"), 3);
    EXPECT_EQ(resultOf(436, "08" + kMac + good + "01 05 00 111111 02"), 3);
    EXPECT_FALSE(card().configuration.isMarked());
}

TEST_F(RejectedRequests, ForRulesNeedAPortOfTheCardAndItsTag) {
    EXPECT_EQ(resultOf(399, "05" + kMac + "0003"), 0);
    EXPECT_EQ(resultOf(399, "05" + kMac + "0004"), 3);
    EXPECT_EQ(resultOf(399, "03" + kMac + "0000"), 3);
}

TEST_F(RejectedRequests, WithARuleCountThatDisagreesAreOutOfRange) {
    const std::string rule = "08 01 05 01 01 01 01 00 00 0000000000000000 07";
    EXPECT_EQ(resultOf(400, "05" + kMac + "0000 00 02" + rule), 3);
    EXPECT_EQ(resultOf(400, "05" + kMac + "0000 00 00"), 3);
    EXPECT_TRUE(card().configuration.rules[0].all().empty());
}

TEST_F(RejectedRequests, WithATagFlagAndNoVlanTagAreOutOfRange) {
    EXPECT_EQ(resultOf(273, "00aabbccddee 80010100 0001 01"), 3);
    EXPECT_EQ(resultOf(273, "00aabbccddee 80010100 0001 01 9100 0064"), 3);
}

TEST_F(RejectedRequests, NeverCrashTheCardWhateverTheirPayload) {
    for (const auto& request : cardRequests()) {
        std::string payload;
        for (int size = 0; size < 80; ++size) {
            EXPECT_NE(resultOf(request.id, payload), 1) << request.id << " " << payload;
            advance(settings.resetTime);
            payload += size % 3 == 0 ? "ff" : "08";
        }
    }
}

TEST(CardRequests, AreFoundByTheirIds) {
    ASSERT_NE(findCardRequest(1), nullptr);
    ASSERT_NE(findCardRequest(585), nullptr);
    EXPECT_EQ(findCardRequest(585)->name, "Get CTC 2.1 Optical Transceiver Diagnosis");
    EXPECT_EQ(findCardRequest(0), nullptr);
    EXPECT_EQ(findCardRequest(586), nullptr);
    EXPECT_EQ(cardRequests().size(), 42U);
}

TEST(RequestNames, NameRequestsAndEvents) {
    EXPECT_EQ(nameOfMessage(6), "Reset OLT");
    EXPECT_EQ(nameOfMessage(0x8000), "OLT Ready");
    EXPECT_EQ(nameOfMessage(0x8001), "unknown");
}

}  // namespace
}  // namespace ponmgr::sim
