// The answers that carry data, byte by byte.

#include "ChassisFixture.h"

namespace ponmgr::sim {
namespace {

class CardAnswers : public ChassisFixture {};

const std::string kInformation = "000db6000001 0053 000db6 3723 0001 0100 636861737369732d73696d" +
                                 zeros(53) +
                                 "0001 1000 00000001 02 02";  // PON ports, network ports

TEST_F(CardAnswers, OltInformationHas91BytesOfData) {
    EXPECT_EQ(ask(7), hex("0007 0001 005d 0000" + kInformation));
}

TEST_F(CardAnswers, OltInformationOfAnotherSlotHasAnotherMac) {
    chassis->receive(card(2), kManager, bytesOf("0007 0001 0000"));
    advance(settings.latency);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].slot, 2);
    EXPECT_EQ(sent[0].hex.substr(16, 12), "000db6000002");
}

TEST_F(CardAnswers, OltInformationCarriesTheProductCodeOfTheSettings) {
    settings.productCode = {0x37, 0x24};
    build();
    EXPECT_EQ(ask(7).substr(38, 4), "3724");
}

TEST_F(CardAnswers, NvsOfAFactoryCardIsOnNowAndAfterTheNextBoot) {
    EXPECT_EQ(ask(301), hex("012d 0001 0004 0000 01 01"));
}

TEST_F(CardAnswers, NvsSwitchedOffStaysOnUntilTheReset) {
    EXPECT_EQ(ask(302, "00"), hex("012e 0001 0002 0000"));
    EXPECT_EQ(ask(301), hex("012d 0001 0004 0000 00 01"));
}

TEST_F(CardAnswers, ExtensionSetsAreThoseAskedForInTheirOrder) {
    EXPECT_EQ(ask(435, "08" + kMac + "0100 0200 0300 0400"),
              hex("01b3 0001 0025 0000 08" + kMac +
                  "01 05 00 000db6 01 02 05 00 111111 00 03 05 00 aaaaaa 00 04 05 00 00a1f5 00"));
    EXPECT_EQ(ask(435, "08" + kMac + "0200"),
              hex("01b3 0001 0010 0000 08" + kMac + "02 05 00 111111 00"));
}

TEST_F(CardAnswers, ExtensionSetsShowWhatWasSet) {
    EXPECT_EQ(resultOf(436, "08" + kMac + "02 05 07 222222 01"), 0);
    EXPECT_EQ(ask(435, "08" + kMac + "0200"),
              hex("01b3 0001 0010 0000 08" + kMac + "02 05 07 222222 01"));
}

TEST_F(CardAnswers, DomainsOfACardWithoutAnyAreOneRecordOfZeros) {
    EXPECT_EQ(ask(381), hex("017d 0001 0006 0000 0000 0000"));
}

const std::string kDomainTail =
    "0000 101010 02 0000 02 0002 0006 02 2004 2006 0000 02 0004 0008 02 2000 2002";

TEST_F(CardAnswers, DomainsShowTheOneThatWasSet) {
    EXPECT_EQ(resultOf(549, "0402" + kDomainTail), 0);
    EXPECT_EQ(ask(381), hex("017d 0001 0006 0000 0402 0002"));
}

TEST_F(CardAnswers, DomainsHaveFourBytesEach) {
    EXPECT_EQ(resultOf(549, "0402" + kDomainTail), 0);
    EXPECT_EQ(resultOf(549, "0403" + kDomainTail), 0);
    EXPECT_EQ(resultOf(549, "0402" + kDomainTail), 0);
    EXPECT_EQ(ask(381), hex("017d 0001 000a 0000 0402 0002 0403 0002"));
}

TEST_F(CardAnswers, PathsOfAFactoryCardAreNone) {
    EXPECT_EQ(ask(377), hex("0179 0001 0002 0000"));
}

TEST_F(CardAnswers, PathsShowTheirIdsAndHowManyDomainsNameThem) {
    EXPECT_EQ(resultOf(376, "2004 0000 0001 0020 0003 0001 0020"), 0);
    EXPECT_EQ(resultOf(376, "0009 0000 0001 0020 0000 0001 0020"), 0);
    EXPECT_EQ(resultOf(549, "0402" + kDomainTail), 0);
    EXPECT_EQ(ask(377), hex("0179 0001 000a 0000 0009 0000 2004 0001"));
}

TEST_F(CardAnswers, PathsLackTheOneThatWasDeleted) {
    EXPECT_EQ(resultOf(376, "0009 0000 0001 0020 0000 0001 0020"), 0);
    EXPECT_EQ(resultOf(387, "0009 0000"), 0);
    EXPECT_EQ(ask(377), hex("0179 0001 0002 0000"));
}

TEST_F(CardAnswers, LinkListsOfACardWithoutOnusAreEmpty) {
    EXPECT_EQ(ask(118), hex("0076 0001 0002 0000"));
    EXPECT_EQ(ask(68), hex("0044 0001 0002 0000"));
}

TEST_F(CardAnswers, StatisticsGiveTheFourOpticalReadingsOfThePort) {
    card().optics[1] = {0x1111, 0x2222, 0x3333, 0x4444};
    EXPECT_EQ(ask(312, "05" + kMac + "0001 000b ff 04"),
              hex("0138 0001 003b 0000 05" + kMac +
                  "0001 000b 04 00 0000000000001111 000b 05 00 0000000000002222 000b 06 00 "
                  "0000000000003333 000b 07 00 0000000000004444"));
}

TEST_F(CardAnswers, StatisticsGiveTheOneElementThatIsAskedFor) {
    card().optics[0].biasCurrent = 0x3333;
    EXPECT_EQ(ask(312, "05" + kMac + "0000 000b 06 04"),
              hex("0138 0001 0017 0000 05" + kMac + "0000 000b 06 00 0000000000003333"));
}

TEST_F(CardAnswers, StatisticsOfAnotherGroupAreNone) {
    EXPECT_EQ(ask(312, "05" + kMac + "0000 000c ff 04"),
              hex("0138 0001 000b 0000 05" + kMac + "0000"));
}

const std::string kTaggedRule = "08 01 04 05 01 8100 0064 01 01 00 00 0000000000000000 07";
const std::string kPlainRule = "08 01 05 01 01 01 01 00 00 0000000000000000 07";

TEST_F(CardAnswers, RulesOfAFactoryCardAreNone) {
    EXPECT_EQ(ask(399, "05" + kMac + "0000"), hex("018f 0001 000d 0000 05" + kMac + "0000 00 00"));
}

TEST_F(CardAnswers, RulesShowThoseOfTheirPortInTheOrderTheyWereSet) {
    const auto port = "05" + kMac + "0002";
    EXPECT_EQ(resultOf(400, port + "00 01" + kTaggedRule), 0);
    EXPECT_EQ(resultOf(400, port + "00 01" + kPlainRule), 0);
    EXPECT_EQ(ask(399, port),
              hex("018f 0001 0035 0000" + port + "00 02" + kTaggedRule + kPlainRule));
    EXPECT_EQ(ask(399, "05" + kMac + "0000").substr(16 + 18), "0000");
}

TEST_F(CardAnswers, RulesLackTheOneThatWasDeleted) {
    const auto port = "05" + kMac + "0000";
    EXPECT_EQ(resultOf(400, port + "00 02" + kTaggedRule + kPlainRule), 0);
    EXPECT_EQ(resultOf(401, port + "00 01" + kTaggedRule), 0);
    EXPECT_EQ(ask(399, port).substr(16), hex(port + "00 01" + kPlainRule));
}

TEST_F(CardAnswers, EnableAndDisableSwitchTheCard) {
    EXPECT_EQ(ask(9), hex("0009 0001 0002 0000"));
    EXPECT_FALSE(card().configuration.enabled);
    EXPECT_EQ(ask(8), hex("0008 0001 0002 0000"));
    EXPECT_TRUE(card().configuration.enabled);
}

TEST_F(CardAnswers, RequestsThatNeedAnOnuFindNone) {
    EXPECT_EQ(ask(363, "00aabbccddee"), hex("016b 0001 0002 0003"));
    EXPECT_EQ(ask(585, "00aabbccddee"), hex("0249 0001 0002 0003"));
    EXPECT_EQ(ask(83, "00aabbccddee"), hex("0053 0001 0002 0003"));
}

}  // namespace
}  // namespace ponmgr::sim
