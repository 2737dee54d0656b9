// The requests that are answered by a result alone.

#include <ostream>

#include "ChassisFixture.h"
#include "sim/CardRequests.h"

namespace ponmgr::sim {
namespace {

/// The first ONU of the card in slot 1, and its downstream queue.
const std::string kLink = "000db6010000";
const std::string kQueue = "4000 0000";
const std::string kSla = "00000000 ffff ff ffff 000f4240 00c8 02 0010";
const std::string kRule = "08 01 04 05 01 8100 0064 01 01 00 00 0000000000000000 07";

struct Setting {
    std::uint16_t id;
    std::string name;
    std::string payload;
};

void PrintTo(const Setting& setting, std::ostream* output) {
    *output << setting.name;
}

const Setting kSettings[] = {
    {1, "DefaultOamRate", "01 14 01"},
    {80, "BridgingConfiguration", "00050000 00 18 01 01 00 01"},
    {119, "ClearAllProvisioning", kLink},
    {273, "OnuPortVlanTagged", kLink + "80010100 0001 01 8100 0064"},
    {273, "OnuPortVlanUntagged", kLink + "80010100 0001 00"},
    {294, "ClearAllAllowedLinks", kMac + "0001"},
    {299, "EthernetPort", kLink + "80010100 0001 01010101"},
    {302, "NvsEnabled", "00"},
    {335, "MulticastGlobal", "1000 000f4240 0000"},
    {337, "MulticastProxy",
     "0402 00000003 00000003 00000000 000f4240 00002710 03e8 0000 0002 0258 0244 0037 0002 0320 "
     "0002 006e 000a 0000 03e8 0000 c0a86502 fe800000000000000000000000000001"},
    {349, "MulticastHostCopy", "0402 000600060006060706060606060600"},
    {355, "PollingInterval", kMac + "0000 0005"},
    {359, "LoopTiming", kMac + "0001 0000 1a5e 0c35 0000"},
    {371, "AggregateBandwidth", kMac + "0000 00000000 0000 00"},
    {376, "Path", "2000 0001 0001 0020 0002 0001 0020"},
    {384, "QueueSla", kQueue + kSla},
    {385, "EnableLink", kLink},
    {387, "DeleteQueueSla", "0009 0000"},
    {393, "EncryptionModeDefault", kMac + "0000 00 0000"},
    {397, "LinkSla", kLink + kSla + "01 02 00000000 00000000"},
    {400, "SetRule", "05" + kMac + "0000 00 01" + kRule},
    {401, "DeleteRule", "05" + kMac + "0002 00 01" + kRule},
    {403, "DomainRules",
     "0402 0001 00 00 01 0001 01 0001 01 0a 03 03 02 0000 09 04 0000 0000 0b 04 0000 0000 01 01 00 "
     "00 0000000000000000 07 00"},
    {412, "DbaAggregateBandwidth", kMac + "0001 00000000 0000 00"},
    {436, "ExtensionSets",
     "08" + kMac + "01 05 00 000db6 01 02 05 00 111111 01 03 05 00 aaaaaa 00 04 05 00 00a1f5 00"},
    {544, "SyncTime", kMac + "0000 0010"},
    {549, "Domain",
     "0402 0000 101010 02 0000 02 0002 0006 02 2004 2006 0000 02 0004 0008 02 2000 2002"},
};

class SettingRequests : public ChassisFixture, public testing::WithParamInterface<Setting> {
protected:
    SettingRequests() { buildWithOnus(1); }
};

TEST_P(SettingRequests, AreAcceptedAsTheManagerSendsThem) {
    EXPECT_EQ(resultOf(GetParam().id, GetParam().payload), 0);
}

TEST_P(SettingRequests, AreOutOfRangeOneByteShort) {
    const auto payload = hex(GetParam().payload);
    EXPECT_EQ(resultOf(GetParam().id, payload.substr(0, payload.size() - 2)), 3);
}

TEST_P(SettingRequests, AreOutOfRangeOneByteLong) {
    EXPECT_EQ(resultOf(GetParam().id, GetParam().payload + "00"), 3);
}

TEST_P(SettingRequests, AreOutOfRangeWithoutAPayload) {
    EXPECT_EQ(resultOf(GetParam().id, ""), 3);
}

TEST_P(SettingRequests, NamingTheMacOfAnotherCardAreOutOfRange) {
    auto payload = GetParam().payload;
    const auto at = payload.find(kMac);
    if (at == std::string::npos) {
        return;
    }
    payload.replace(at, kMac.size(), "000db6000002");
    EXPECT_EQ(resultOf(GetParam().id, payload), 3);
}

TEST_P(SettingRequests, KeepThePayloadOnlyWhenTheyAreAccepted) {
    const auto& payload = GetParam().payload;
    if (findCardRequest(GetParam().id)->keep == Keep::no) {
        return;
    }
    auto& store = card().configuration.accepted;
    EXPECT_EQ(resultOf(GetParam().id, payload + "00"), 3);
    EXPECT_EQ(store.size(), 0U);
    EXPECT_EQ(resultOf(GetParam().id, payload), 0);
    EXPECT_EQ(store.countPerId().at(GetParam().id), 1U);
}

TEST_P(SettingRequests, ArePretendedByAnAnswerAloneWhateverTheySay) {
    const auto before = card().configuration;
    const auto id = GetParam().id;
    EXPECT_TRUE(isSetting(id));
    Writer request;
    request.u16(id);
    request.u32(0x00070000);
    EXPECT_EQ(chassis->receive(card(), kManager, request.view(), Chassis::Effect::pretended), "");
    advance(settings.latency);
    Writer answer;
    answer.u16(id);
    answer.u16(7);
    answer.u32(0x00020000);
    EXPECT_EQ(takeSent(), std::vector{hexText(answer.view())});
    const auto& after = card().configuration;
    EXPECT_EQ(after.accepted.size(), before.accepted.size());
    EXPECT_EQ(after.paths.size(), before.paths.size());
    EXPECT_EQ(after.domains.size(), before.domains.size());
    EXPECT_EQ(after.isMarked(), before.isMarked());
    EXPECT_TRUE(card().nvsCurrent && card().nvsAfterNextBoot);
}

INSTANTIATE_TEST_SUITE_P(All, SettingRequests, testing::ValuesIn(kSettings),
                         [](const auto& setting) { return setting.param.name; });

class PretendedActions : public ChassisFixture {
protected:
    PretendedActions() { buildWithOnus(1); }

    void pretend(const std::string& request) {
        chassis->receive(card(), kManager, bytesOf(request), Chassis::Effect::pretended);
        advance(settings.latency);
    }
};

TEST_F(PretendedActions, ResetNoCardAndNoOnu) {
    pretend("0006 0001 0000");
    pretend("0053 0002 0006" + kLink);
    EXPECT_EQ(takeSent(), (std::vector<std::string>{"0006000100020000", "0053000200020000"}));
    EXPECT_FALSE(card().resetting);
    EXPECT_TRUE(onu(0, 0).discovered);
}

TEST_F(PretendedActions, DisableNoCard) {
    pretend("0009 0001 0000");
    EXPECT_TRUE(card().configuration.enabled);
}

TEST(Requests, ThatOnlyAskAreNoSettings) {
    for (const int id : {7, 68, 118, 301, 312, 363, 377, 381, 388, 399, 435, 585, 4095}) {
        EXPECT_FALSE(isSetting(static_cast<std::uint16_t>(id))) << id;
    }
    for (const int id : {6, 8, 9, 83}) {
        EXPECT_TRUE(isSetting(static_cast<std::uint16_t>(id))) << id;
    }
}

class KeptPayloads : public ChassisFixture {};

TEST_F(KeptPayloads, AreKeptApartByPort) {
    EXPECT_EQ(resultOf(544, kMac + "0000 0010"), 0);
    EXPECT_EQ(resultOf(544, kMac + "0001 0011"), 0);
    EXPECT_EQ(resultOf(544, kMac + "0001 0012"), 0);
    const auto& store = card().configuration.accepted;
    ASSERT_NE(store.find(544, 0), nullptr);
    EXPECT_EQ(hexText(*store.find(544, 0)), kMac + "00000010");
    EXPECT_EQ(hexText(*store.find(544, 1)), kMac + "00010012");
}

TEST_F(KeptPayloads, OfALinkGoWhenItsProvisioningIsCleared) {
    buildWithOnus(2);
    for (const auto& link : {kLink, std::string("000db6010001")}) {
        EXPECT_EQ(resultOf(385, link), 0);
        EXPECT_EQ(resultOf(299, link + "80010100 0001 01010101"), 0);
    }
    EXPECT_EQ(resultOf(384, kQueue + kSla), 0);
    EXPECT_EQ(resultOf(119, kLink), 0);
    const auto& store = card().configuration.accepted;
    EXPECT_EQ(store.find(385, 0x000DB6010000), nullptr);
    EXPECT_EQ(store.find(299, 0x000DB6010000), nullptr);
    EXPECT_EQ(store.find(384, 0x40000000), nullptr);
    EXPECT_NE(store.find(385, 0x000DB6010001), nullptr);
    EXPECT_NE(store.find(299, 0x000DB6010001), nullptr);
}

TEST_F(KeptPayloads, AreLimitedInNumber) {
    buildWithOnus(1);
    auto& store = card().configuration.accepted;
    for (std::uint64_t key = 0; key < PayloadStore::kCapacity; ++key) {
        ASSERT_TRUE(store.put(385, key, {}));
    }
    EXPECT_EQ(resultOf(385, kLink), 3);
    store.erase(385, 0);
    EXPECT_EQ(resultOf(385, kLink), 0);
}

}  // namespace
}  // namespace ponmgr::sim
