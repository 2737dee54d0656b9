#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "Failure.h"
#include "model/OnuLink.h"

namespace ponmgr::test {

namespace {

static_assert(std::has_virtual_destructor_v<OnuLink>);
static_assert(!std::is_base_of_v<Container, OnuLink>);

constexpr const char* kMac = "aa:bb:cc:dd:ee:ff";

TEST(OnuLinkTest, ANewLinkIsKnownByItsMacAlone) {
    EXPECT_EQ(OnuLink(kMac).getJsonData(),
              "{\n"
              "\t\"alarm_message\":\t\"\",\n"
              "\t\"downstream_queue\":\t\"\",\n"
              "\t\"ether_up_status\":\t\"0\",\n"
              "\t\"id\":\t\"0\",\n"
              "\t\"is_gigabit\":\t\"0\",\n"
              "\t\"mac_address\":\t\"aa:bb:cc:dd:ee:ff\",\n"
              "\t\"mcast_queue\":\t\"\",\n"
              "\t\"online_status\":\t\"0\",\n"
              "\t\"pon_port\":\t\"-\",\n"
              "\t\"slot_id\":\t\"\",\n"
              "\t\"status_reported\":\t\"0\",\n"
              "\t\"supply_voltage\":\t\"-\",\n"
              "\t\"temperature\":\t\"-\",\n"
              "\t\"tx_bias_current\":\t\"-\",\n"
              "\t\"tx_power_input\":\t\"-\",\n"
              "\t\"tx_power_output\":\t\"-\",\n"
              "\t\"upstream_queue\":\t\"\"\n"
              "}");
}

TEST(OnuLinkTest, ANewLinkIsNotModified) {
    EXPECT_FALSE(OnuLink(kMac).getHasModified());
}

TEST(OnuLinkTest, TheMacAddressIsThatOfTheConstructor) {
    EXPECT_EQ(OnuLink(kMac).getMacAddress(), kMac);
}

TEST(OnuLinkTest, TheHexMacAddressHasNoColons) {
    EXPECT_EQ(OnuLink(kMac).getHexMacAddress(), "aabbccddeeff");
    EXPECT_EQ(OnuLink("").getHexMacAddress(), "");
}

struct Text {
    const char* key;
    const char* initial;
    void (OnuLink::*set)(const std::string&);
    std::string (OnuLink::*get)() const;
};

class OnuLinkTextTest : public testing::TestWithParam<Text> {
protected:
    OnuLink link{kMac};
};

TEST_P(OnuLinkTextTest, StartsWithItsInitialValue) {
    EXPECT_EQ((link.*GetParam().get)(), GetParam().initial);
}

TEST_P(OnuLinkTextTest, KeepsWhatWasSetUnchangedUnderItsKey) {
    (link.*GetParam().set)(" -3.14 dBm");
    EXPECT_EQ((link.*GetParam().get)(), " -3.14 dBm");
    EXPECT_NE(link.getJsonData().find("\t\"" + std::string(GetParam().key) + "\":\t\" -3.14 dBm\""),
              std::string::npos);
}

TEST_P(OnuLinkTextTest, AChangeMarksTheLinkModified) {
    (link.*GetParam().set)(GetParam().initial);
    EXPECT_FALSE(link.getHasModified());
    (link.*GetParam().set)("changed");
    EXPECT_TRUE(link.getHasModified());
}

INSTANTIATE_TEST_SUITE_P(
    All, OnuLinkTextTest,
    testing::Values(
        Text{"pon_port", "-", &OnuLink::setPonPort, &OnuLink::getPonPort},
        Text{"temperature", "-", &OnuLink::setTemperature, &OnuLink::getTemperature},
        Text{"supply_voltage", "-", &OnuLink::setSupplyVoltage, &OnuLink::getSupplyVoltage},
        Text{"tx_bias_current", "-", &OnuLink::setTxBiasCurrent, &OnuLink::getTxBiasCurrent},
        Text{"tx_power_input", "-", &OnuLink::setTxPowerInput, &OnuLink::getTxPowerInput},
        Text{"tx_power_output", "-", &OnuLink::setTxPowerOutput, &OnuLink::getTxPowerOutput},
        Text{"downstream_queue", "", &OnuLink::setDownstreamQueue, &OnuLink::getDownstreamQueue},
        Text{"upstream_queue", "", &OnuLink::setUpstreamQueue, &OnuLink::getUpstreamQueue},
        Text{"mcast_queue", "", &OnuLink::setMultiCastQueue, &OnuLink::getMultiCastQueue},
        Text{"slot_id", "", &OnuLink::setSlotId, &OnuLink::getSlotId}),
    [](const auto& value) { return std::string(value.param.key); });

struct Flag {
    const char* key;
    void (OnuLink::*set)(bool);
    bool (OnuLink::*get)() const;
};

class OnuLinkFlagTest : public testing::TestWithParam<Flag> {
protected:
    // What the getter says of a stored text.
    bool valueOf(const std::string& text) {
        EXPECT_TRUE(link.setJsonData("{\"" + std::string(GetParam().key) + "\":\"" + text + "\"}"));
        return (link.*GetParam().get)();
    }
    bool jsonHas(const std::string& value) {
        return link.getJsonData().find("\t\"" + std::string(GetParam().key) + "\":\t\"" + value +
                                       "\"") != std::string::npos;
    }
    OnuLink link{kMac};
};

TEST_P(OnuLinkFlagTest, IsFalseAtFirst) {
    EXPECT_FALSE((link.*GetParam().get)());
}

TEST_P(OnuLinkFlagTest, KeepsWhatWasSetUnderItsKey) {
    (link.*GetParam().set)(true);
    EXPECT_TRUE((link.*GetParam().get)());
    EXPECT_TRUE(jsonHas("1"));
    (link.*GetParam().set)(false);
    EXPECT_FALSE((link.*GetParam().get)());
    EXPECT_TRUE(jsonHas("0"));
}

TEST_P(OnuLinkFlagTest, IsTrueForExactlyOne) {
    EXPECT_TRUE(valueOf("1"));
    for (const char* text : {"-", "", "0", "2", "true", "11", " 1", "1 ", "01"}) {
        EXPECT_FALSE(valueOf(text)) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, OnuLinkFlagTest,
    testing::Values(
        Flag{"is_gigabit", &OnuLink::setIsGigabit, &OnuLink::getIsGigabit},
        Flag{"ether_up_status", &OnuLink::setEthernetUpStatus, &OnuLink::getEthernetUpStatus},
        Flag{"online_status", &OnuLink::setOnlineStatus, &OnuLink::getOnlineStatus},
        Flag{"status_reported", &OnuLink::setStatusReported, &OnuLink::getStatusReported}),
    [](const auto& value) { return std::string(value.param.key); });

TEST(OnuLinkTest, AlarmMessagesAreListedInOrderOfArrival) {
    OnuLink link(kMac);
    EXPECT_EQ(link.getAlarmMessage(), "");
    link.addAlarmMessage("A");
    EXPECT_EQ(link.getAlarmMessage(), "A");
    link.addAlarmMessage("B");
    EXPECT_EQ(link.getAlarmMessage(), "A,B");
}

TEST(OnuLinkTest, AlarmMessagesMayRepeat) {
    OnuLink link(kMac);
    link.addAlarmMessage("A");
    link.addAlarmMessage("B");
    link.addAlarmMessage("A");
    EXPECT_EQ(link.getAlarmMessage(), "A,B,A");
}

TEST(OnuLinkTest, ClearedAlarmMessagesStartAnew) {
    OnuLink link(kMac);
    link.addAlarmMessage("A");
    link.clearAlarmMessage();
    EXPECT_EQ(link.getAlarmMessage(), "");
    link.addAlarmMessage("B");
    EXPECT_EQ(link.getAlarmMessage(), "B");
}

TEST(OnuLinkTest, AnEmptyAlarmMessageIsNothingAtFirstAndAPlaceLater) {
    OnuLink link(kMac);
    link.addAlarmMessage("");
    EXPECT_EQ(link.getAlarmMessage(), "");
    link.addAlarmMessage("A");
    link.addAlarmMessage("");
    EXPECT_EQ(link.getAlarmMessage(), "A,");
}

TEST(OnuLinkTest, TheModifiedFlagIsClearedAndSetAgain) {
    OnuLink link(kMac);
    link.setPonPort("1");
    link.clearHasModified();
    EXPECT_FALSE(link.getHasModified());
    link.setPonPort("1");
    EXPECT_FALSE(link.getHasModified());
    link.setPonPort("0");
    EXPECT_TRUE(link.getHasModified());
}

TEST(OnuLinkTest, JsonChangesTheKeysOfALink) {
    OnuLink link(kMac);
    EXPECT_TRUE(link.setJsonData(R"({"slot_id":"3","other":"x"})"));
    EXPECT_EQ(link.getSlotId(), "3");
    EXPECT_EQ(link.getJsonData().find("other"), std::string::npos);
}

TEST(OnuLinkTest, JsonNeverChangesTheId) {
    OnuLink link(kMac);
    EXPECT_FALSE(link.setJsonData(R"({"id":"7"})"));
    EXPECT_NE(link.getJsonData().find("\"id\":\t\"0\""), std::string::npos);
}

TEST(OnuLinkTest, JsonThatCannotBeParsedIsRefused) {
    EXPECT_EQ(messageOf([] { OnuLink(kMac).setJsonData("{"); }), "Impossible to parse json");
}

TEST(OnuLinkTest, JsonIsToldBeforeItMayChangeTheMacAddress) {
    OnuLink link(kMac);
    std::string macWhenTold;
    link.beforeMacAddressChanges([&] { macWhenTold = link.getMacAddress(); });
    link.setJsonData(R"({"mac_address":"00:11:22:33:44:55"})");
    EXPECT_EQ(macWhenTold, kMac);
    EXPECT_EQ(link.getMacAddress(), "00:11:22:33:44:55");
}

}  // namespace

}  // namespace ponmgr::test
