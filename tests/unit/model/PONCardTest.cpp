#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <type_traits>

#include "Failure.h"
#include "model/Helper.h"
#include "model/PONCard.h"

namespace ponmgr::test {

namespace {

static_assert(std::has_virtual_destructor_v<PONCard>);
static_assert(!std::is_base_of_v<Container, PONCard>);

constexpr const char* kNewRow =
    R"({"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",)"
    R"("ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",)"
    R"("ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"})";

std::string rows(const std::string& first, const std::string& second) {
    return R"("module_olt_table":[)" + first + "," + second + "]}";
}

TEST(PONCardTest, ANewCardIsUnknownOfflineAndHasTwoPorts) {
    EXPECT_EQ(PONCard().getJsonData(),
              R"({"app_version":"","id":"0","mac_address":"","nvs_enabled":"0",)"
              R"("online_status":"0","slot_id":"","status_reported":"0",)" +
                  rows(kNewRow, kNewRow));
}

TEST(PONCardTest, EachSetterWritesItsOwnKey) {
    PONCard card;
    card.setMacAddress("00:11:22:33:44:55");
    card.setSlotId("8");
    card.setAppVersion("1.2.3");
    card.setOnlineStatus(true);
    EXPECT_EQ(card.getJsonData(),
              R"({"app_version":"1.2.3","id":"0","mac_address":"00:11:22:33:44:55",)"
              R"("nvs_enabled":"0","online_status":"1","slot_id":"8","status_reported":"0",)" +
                  rows(kNewRow, kNewRow));
    card.setOnlineStatus(false);
    card.setStatusReported(true);
    card.setNVSEnabled(true);
    EXPECT_EQ(card.getJsonData(),
              R"({"app_version":"1.2.3","id":"0","mac_address":"00:11:22:33:44:55",)"
              R"("nvs_enabled":"1","online_status":"0","slot_id":"8","status_reported":"1",)" +
                  rows(kNewRow, kNewRow));
}

TEST(PONCardTest, EachGetterReadsItsOwnKey) {
    PONCard card;
    EXPECT_TRUE(card.setJsonData(
        R"({"mac_address":"00:11:22:33:44:55","slot_id":"3","app_version":"1.2.3"})"));
    EXPECT_EQ(card.getMacAddress(), "00:11:22:33:44:55");
    EXPECT_EQ(card.getSlotId(), "3");
    EXPECT_EQ(card.getAppVersion(), "1.2.3");
}

TEST(PONCardTest, TextsAreStoredUnchanged) {
    PONCard card;
    card.setMacAddress(" AA:bb ");
    card.setSlotId("nine");
    card.setAppVersion("\"1\"\n");
    EXPECT_EQ(card.getMacAddress(), " AA:bb ");
    EXPECT_EQ(card.getSlotId(), "nine");
    EXPECT_EQ(card.getAppVersion(), "\"1\"\n");
}

TEST(PONCardTest, ClearMacAddressEmptiesIt) {
    PONCard card;
    card.setMacAddress("00:11:22:33:44:55");
    card.clearMacAddress();
    EXPECT_EQ(card.getMacAddress(), "");
}

TEST(PONCardTest, HasAMacAddressFromItsIdentificationUntilItIsCleared) {
    PONCard card;
    EXPECT_FALSE(card.hasMacAddress());
    card.setMacAddress("00:11:22:33:44:55");
    EXPECT_TRUE(card.hasMacAddress());
    card.clearMacAddress();
    EXPECT_FALSE(card.hasMacAddress());
    card.clear();
    EXPECT_FALSE(card.hasMacAddress());
}

TEST(PONCardTest, TheHexMacAddressHasNoColons) {
    PONCard card;
    card.setMacAddress("00:11:22:33:44:55");
    EXPECT_EQ(card.getHexMacAddress(), "001122334455");
    EXPECT_EQ(card.getMacAddress(), "00:11:22:33:44:55");
}

TEST(PONCardTest, TheHexMacAddressOfAnUnknownCardIsEmpty) {
    EXPECT_EQ(PONCard().getHexMacAddress(), "");
}

struct Flag {
    const char* key;
    void (PONCard::*set)(bool);
    bool (PONCard::*get)() const;
};

class PONCardFlagTest : public testing::TestWithParam<Flag> {
protected:
    // What the getter says of a stored text.
    bool valueOf(const std::string& text) {
        EXPECT_TRUE(card.setJsonData("{\"" + std::string(GetParam().key) + "\":\"" + text + "\"}"));
        return (card.*GetParam().get)();
    }
    PONCard card;
};

TEST_P(PONCardFlagTest, IsFalseAtFirst) {
    EXPECT_FALSE((card.*GetParam().get)());
}

TEST_P(PONCardFlagTest, KeepsWhatWasSet) {
    (card.*GetParam().set)(true);
    EXPECT_TRUE((card.*GetParam().get)());
    EXPECT_NE(card.getJsonData().find("\"" + std::string(GetParam().key) + "\":\"1\""),
              std::string::npos);
    (card.*GetParam().set)(false);
    EXPECT_FALSE((card.*GetParam().get)());
    EXPECT_NE(card.getJsonData().find("\"" + std::string(GetParam().key) + "\":\"0\""),
              std::string::npos);
}

TEST_P(PONCardFlagTest, IsTrueForExactlyOne) {
    EXPECT_TRUE(valueOf("1"));
    for (const char* text : {"-", "", "0", "2", "true", "11", " 1", "1 ", "01"}) {
        EXPECT_FALSE(valueOf(text)) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, PONCardFlagTest,
    testing::Values(Flag{"online_status", &PONCard::setOnlineStatus, &PONCard::getOnlineStatus},
                    Flag{"status_reported", &PONCard::setStatusReported,
                         &PONCard::getStatusReported},
                    Flag{"nvs_enabled", &PONCard::setNVSEnabled, &PONCard::getNVSEnabled}),
    [](const auto& value) { return std::string(value.param.key); });

TEST(PONCardTest, EachPortHasARowOfItsOwn) {
    PONCard card;
    ModuleOltTableRow* const first = card.getModuleOltTable(0);
    ModuleOltTableRow* const second = card.getModuleOltTable(1);
    ASSERT_NE(first, second);
    EXPECT_EQ(first->getJsonFile(), kNewRow);
    EXPECT_EQ(second->getJsonFile(), kNewRow);
    EXPECT_EQ(card.getModuleOltTable(0), first);
}

TEST(PONCardTest, APortThatThereIsNotIsNamed) {
    PONCard card;
    EXPECT_EQ(messageOf([&] { card.getModuleOltTable(2); }), "PON (2) not found");
    EXPECT_EQ(messageOf([&] { card.getModuleOltTable(255); }), "PON (255) not found");
    EXPECT_TRUE(whatOf([&] { card.getModuleOltTable(2); }).starts_with("getModuleOltTable["));
}

TEST(PONCardTest, ReadingsOfAPortAreReportedInItsPlace) {
    PONCard card;
    card.getModuleOltTable(1)->setValue("ucOpticModuleOltVcc", "3.30", true);
    EXPECT_EQ(card.getJsonData(),
              R"({"app_version":"","id":"0","mac_address":"","nvs_enabled":"0",)"
              R"("online_status":"0","slot_id":"","status_reported":"0",)" +
                  rows(kNewRow, Helper::replaceAll(kNewRow, R"(Vcc":"-")", R"(Vcc":"3.30")")));
}

TEST(PONCardTest, JsonNeverChangesTheId) {
    PONCard card;
    EXPECT_FALSE(card.setJsonData(R"({"id":"7"})"));
    EXPECT_TRUE(card.getJsonData().starts_with(R"({"app_version":"","id":"0",)"));
}

TEST(PONCardTest, JsonThatCannotBeParsedIsRefused) {
    EXPECT_EQ(messageOf([] { PONCard().setJsonData("{"); }), "Impossible to parse json");
}

TEST(PONCardTest, AClearedCardIsNothingButItsId) {
    PONCard card;
    card.setSlotId("8");
    card.clear();
    EXPECT_EQ(card.getJsonData(), R"({"id":"0"})");
}

TEST(PONCardTest, AClearedCardHasNoPorts) {
    PONCard card;
    card.clear();
    EXPECT_EQ(messageOf([&] { card.getModuleOltTable(0); }), "PON (0) not found");
}

TEST(PONCardTest, OneThreadWritesWhileAnotherReads) {
    PONCard card;
    std::thread writer([&] {
        for (int round = 0; round < 1000; round++) {
            card.setOnlineStatus(round % 2 == 0);
            card.setMacAddress(round % 2 == 0 ? "00:11:22:33:44:55" : "");
        }
    });
    bool whole = true;
    for (int round = 0; round < 100; round++) {
        whole = whole && card.getJsonData().size() > 100;
        const std::string mac = card.getHexMacAddress();
        whole = whole && (mac.empty() || mac == "001122334455");
    }
    writer.join();
    EXPECT_TRUE(whole);
}

}  // namespace

}  // namespace ponmgr::test
