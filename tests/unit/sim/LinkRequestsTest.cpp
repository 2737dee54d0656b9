// What a card answers about its ONUs' links, byte by byte.

#include <gmock/gmock.h>

#include "ChassisFixture.h"
#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {
namespace {

const std::string kLink = "000db6010000";
const std::string kOtherLink = "000db6010100";
const std::string kStranger = "00aabbccddee";
const std::string kSla = "00000000 ffff ff ffff 000f4240 00c8 02 0010";

/// Slot 1 with one registered ONU at each port.
class LinkRequests : public ChassisFixture {
protected:
    LinkRequests() { buildWithOnus(1); }

    void provisionLink() {
        EXPECT_EQ(resultOf(385, kLink), 0);
        EXPECT_EQ(resultOf(397, kLink + kSla + "01 02 00000000 00000000"), 0);
        for (const std::string endpoint : {"4000", "4001", "4002"}) {
            EXPECT_EQ(resultOf(384, endpoint + "0000" + kSla), 0);
        }
    }

    void unplug() { chassis->onuNetwork().setPlugged(card(), onu(0, 0), false); }
};

TEST_F(LinkRequests, DiscoveredLinksAreThoseThatAreRegistered) {
    EXPECT_EQ(ask(68), hex("0044 0001 000e 0000" + kLink + kOtherLink));
    unplug();
    EXPECT_EQ(ask(68), hex("0044 0001 0008 0000" + kOtherLink));
}

TEST_F(LinkRequests, DiscoveredLinksAreNoneWhileTheOltIsDisabled) {
    EXPECT_EQ(resultOf(9), 0);
    EXPECT_EQ(ask(68), hex("0044 0001 0002 0000"));
}

TEST_F(LinkRequests, DiscoveredLinksOfAFullCardFitIntoOneDatagram) {
    buildWithOnus(124);
    const auto answer = ask(68);
    EXPECT_EQ(answer.size() / 2, 8U + 248 * 6);
    EXPECT_LE(answer.size() / 2, 1500U);
    EXPECT_EQ(answer.substr(0, 28), hex("0044 0001 05d2 0000" + kLink));
}

TEST_F(LinkRequests, KnownLinksAreThoseThatHaveBeenProvisioned) {
    EXPECT_EQ(ask(118), hex("0076 0001 0002 0000"));
    EXPECT_EQ(resultOf(385, kLink), 0);
    EXPECT_EQ(ask(118), hex("0076 0001 0008 0000" + kLink));
}

TEST_F(LinkRequests, KnownLinksStayWhenTheirOnuGoes) {
    provisionLink();
    unplug();
    EXPECT_EQ(ask(118), hex("0076 0001 0008 0000" + kLink));
}

TEST_F(LinkRequests, KnownLinksLackTheOneThatWasCleared) {
    provisionLink();
    unplug();
    EXPECT_EQ(ask(119, kLink), hex("0077 0001 0002 0000"));
    EXPECT_EQ(ask(118), hex("0076 0001 0002 0000"));
    EXPECT_EQ(ask(119, kLink), hex("0077 0001 0002 0003"));
}

TEST_F(LinkRequests, KnownLinksOfAPortGoWithClearAllAllowedLinks) {
    EXPECT_EQ(resultOf(385, kLink), 0);
    EXPECT_EQ(resultOf(385, kOtherLink), 0);
    EXPECT_EQ(resultOf(294, kMac + "0001"), 0);
    EXPECT_EQ(ask(118), hex("0076 0001 0008 0000" + kLink));
    EXPECT_TRUE(onu(1, 0).discovered);
}

TEST_F(LinkRequests, OnuInformationHas26BytesOfData) {
    onu(0, 0).roundTripTime = 0x0102;
    EXPECT_EQ(ask(363, kLink), hex("016b 0001 001c 0000" + kLink +
                                   "0012 000db6 4201 0002 0001 0102 00 0001 01 08 01 00"));
}

TEST_F(LinkRequests, OnuInformationOfAnOnuThatIsNotOnLineIsOutOfRange) {
    provisionLink();
    unplug();
    EXPECT_EQ(ask(363, kLink), hex("016b 0001 0002 0003"));
    EXPECT_EQ(ask(363, kStranger), hex("016b 0001 0002 0003"));
}

TEST_F(LinkRequests, BridgingModeGivesTheThreeQueuesOfTheLink) {
    EXPECT_EQ(resultOf(80, "00050000 00 18 01 01 00 01"), 0);
    EXPECT_EQ(ask(388, kLink),
              hex("0184 0001 0017 0000" + kLink + "01 0040 4000 0000 4001 0000 4002 0000"));
    EXPECT_EQ(ask(388, kOtherLink).substr(16 + 18, 4), "41f0");
}

TEST_F(LinkRequests, BridgingModeOfAKnownLinkIsThereWithoutItsOnu) {
    EXPECT_EQ(resultOf(385, kLink), 0);
    unplug();
    EXPECT_EQ(resultOf(388, kLink), 0);
    EXPECT_EQ(ask(388, kStranger), hex("0184 0001 0002 0003"));
}

TEST_F(LinkRequests, QueueSlaNeedsAnEndpointOfTheCard) {
    EXPECT_EQ(resultOf(384, "4003 0000" + kSla), 3);
    EXPECT_EQ(resultOf(384, "0000 0000" + kSla), 3);
    EXPECT_EQ(resultOf(384, "2000 0000" + kSla), 3);
    EXPECT_EQ(resultOf(376, "2000 0001 0001 0020 0002 0001 0020"), 0);
    EXPECT_EQ(resultOf(384, "2000 0000" + kSla), 0);
    EXPECT_EQ(resultOf(384, "4002 0000" + kSla), 0);
    unplug();
    EXPECT_EQ(resultOf(119, kLink), 0);
    EXPECT_EQ(resultOf(384, "4002 0000" + kSla), 3);
}

TEST_F(LinkRequests, LinkSettingsOfAStrangerAreOutOfRange) {
    EXPECT_EQ(resultOf(385, kStranger), 3);
    EXPECT_EQ(resultOf(397, kStranger + kSla + "01 02 00000000 00000000"), 3);
    EXPECT_EQ(resultOf(119, kStranger), 3);
    EXPECT_EQ(card().configuration.accepted.size(), 0U);
}

TEST_F(LinkRequests, OnuSettingsNeedTheOnuToBeOnLine) {
    const std::string port = "80010100 0001 01010101";
    const std::string vlan = "80010100 0001 01 8100 0064";
    EXPECT_EQ(resultOf(299, kLink + port), 0);
    EXPECT_EQ(resultOf(273, kLink + vlan), 0);
    EXPECT_EQ(portVlan(card().configuration, onu(0, 0)), 100);
    EXPECT_TRUE(isEthernetUp(card().configuration, onu(0, 0)));
    EXPECT_EQ(resultOf(385, kLink), 0);
    unplug();
    EXPECT_EQ(resultOf(299, kLink + port), 3);
    EXPECT_EQ(resultOf(273, kLink + vlan), 3);
    EXPECT_EQ(resultOf(385, kLink), 0);
}

TEST_F(LinkRequests, UntaggedOnuPortHasNoVlan) {
    EXPECT_EQ(resultOf(273, kLink + "80010100 0001 00"), 0);
    EXPECT_EQ(portVlan(card().configuration, onu(0, 0)), 0);
}

TEST_F(LinkRequests, ProvisioningIsCompleteWithTheLinkAndItsThreeQueues) {
    const auto& configuration = card().configuration;
    EXPECT_THAT(missingProvisioning(configuration, onu(0, 0)),
                testing::ElementsAre("not enabled", "no link SLA", "no downstream queue SLA",
                                     "no upstream queue SLA", "no multicast queue SLA"));
    provisionLink();
    EXPECT_TRUE(isProvisioned(configuration, onu(0, 0)));
    EXPECT_EQ(resultOf(387, "4001 0000"), 0);
    EXPECT_THAT(missingProvisioning(configuration, onu(0, 0)),
                testing::ElementsAre("no upstream queue SLA"));
}

TEST_F(LinkRequests, DiagnosisGivesTheFiveReadings) {
    onu(0, 0).optics = {0x1111, 0x2222, 0x3333, 0x4444, 0x5555};
    EXPECT_EQ(ask(585, kLink), hex("0249 0001 0012 0000" + kLink + "1111 2222 3333 4444 5555"));
}

TEST_F(LinkRequests, DiagnosisShowsAFade) {
    onu(0, 0).optics.powerIn = 1000;
    onu(0, 0).fadeDecibels = 10;
    EXPECT_EQ(ask(585, kLink).substr(16 + 24, 4), "0064");
}

TEST_F(LinkRequests, DiagnosisOfAnOnuThatIsNotOnLineIsOutOfRange) {
    EXPECT_EQ(ask(585, kStranger), hex("0249 0001 0002 0003"));
    unplug();
    EXPECT_EQ(ask(585, kLink), hex("0249 0001 0002 0003"));
}

TEST_F(LinkRequests, PathsShowLeftoversUntilTheyAreDeleted) {
    EXPECT_TRUE(card().configuration.setLeftoverPath(9, 2));
    EXPECT_TRUE(card().configuration.setLeftoverPath(8191, 3));
    EXPECT_EQ(ask(377), hex("0179 0001 000a 0000 0009 0002 1fff 0003"));
    EXPECT_EQ(resultOf(387, "0009 0000"), 0);
    EXPECT_EQ(resultOf(387, "000a 0000"), 0);
    EXPECT_EQ(ask(377), hex("0179 0001 0006 0000 1fff 0003"));
}

TEST_F(LinkRequests, RulesComeBackWithTheirTailAndAreDeletedAsTheyCame) {
    const auto target = "05" + kMac + "0002";
    const std::string longRule = "08 01 02 02 0000 01 06 34 00 0000000000000064 02";
    const std::string shortRule = "08 01 05 01 01 01 01 00 00 0000000000000000 07";
    EXPECT_EQ(resultOf(400, target + "00 01" + longRule), 0);
    EXPECT_EQ(resultOf(400, target + "00 01" + shortRule), 0);
    EXPECT_EQ(ask(399, target),
              hex("018f 0001 0032 0000" + target + "00 02" + longRule + shortRule));
    EXPECT_EQ(resultOf(401, target + "00 01" + longRule), 0);
    EXPECT_EQ(ask(399, target), hex("018f 0001 001f 0000" + target + "00 01" + shortRule));
}

}  // namespace
}  // namespace ponmgr::sim
