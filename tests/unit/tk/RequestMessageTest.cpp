#include <gtest/gtest.h>

#include <set>
#include <type_traits>

#include "FailingAllocation.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/RequestMessage.h"

namespace ponmgr {
namespace {

using test::bytes;
using test::FailingAllocation;
using test::hexText;
using test::messageThrownBy;

static_assert(std::has_virtual_destructor_v<RequestMessage>);

using RM = RequestMessage;

struct PlainEntry {
    const char* name;
    void (RM::*add)();
    const char* id;
};

constexpr PlainEntry kPlainEntries[] = {
    {"ResetOLT", &RM::addResetOLT, "00 06"},
    {"GetOLTInformation", &RM::addGetOLTInformation, "00 07"},
    {"EnableOLT", &RM::addEnableOLT, "00 08"},
    {"DisableOLT", &RM::addDisableOLT, "00 09"},
    {"GetListOfDiscoveredLinks", &RM::addGetListOfDiscoveredLinks, "00 44"},
    {"GetListOfAllKnownLogicalLinks", &RM::addGetListOfAllKnownLogicalLinks, "00 76"},
    {"GetOLTNVSEnabled", &RM::addGetOLTNVSEnabled, "01 2d"},
    {"GetAllPath", &RM::addGetAllPath, "01 79"},
    {"GetAllDomains", &RM::doAddGetAllDomains, "01 7d"},
};

struct PayloadEntry {
    const char* name;
    void (RM::*add)(TKMPayload*);
    const char* id;
};

constexpr PayloadEntry kPayloadEntries[] = {
    {"SetDefaultOAMRate", &RM::addSetDefaultOAMRate, "00 01"},
    {"SetOLTBridgingConfiguration", &RM::addSetOLTBridgingConfiguration, "00 50"},
    {"ResetONU", &RM::addResetONU, "00 53"},
    {"ClearAllProvisioning", &RM::addClearAllProvisioningForLogicalLink, "00 77"},
    {"OnuPortVlan", &RM::addOnuPortVlan, "01 11"},
    {"ClearAllAllowedLinks", &RM::addClearAllAllowedLinks, "01 26"},
    {"CTCSetEthernetPort", &RM::addCTCSetEthernetPort, "01 2b"},
    {"SetOLTNVSEnabled", &RM::addSetOLTNVSEnabled, "01 2e"},
    {"GetStatistics", &RM::addGetStatistics, "01 38"},
    {"MulticastGlobal", &RM::addSetOLTIPMulticastGlobalProvisioning, "01 4f"},
    {"MulticastDomainProxy", &RM::addSetOLTIPMulticastDomainProxyProvisioning, "01 51"},
    {"MulticastHostCopy", &RM::addSetOLTIPMulticastHostCopy, "01 5d"},
    {"DBAPollingInterval", &RM::addSetDBAPollingIntervalHighResolution, "01 63"},
    {"SetEPONLoopTiming", &RM::addSetEPONLoopTiming, "01 67"},
    {"GetONUInformation", &RM::addGetONUInformation, "01 6b"},
    {"SetAggregateBandwidth", &RM::addSetAggregateBandwidth, "01 73"},
    {"SetPath", &RM::addSetPath, "01 78"},
    {"SetQueueSLA", &RM::addSetQueueSLA, "01 80"},
    {"EnableLink", &RM::addEnableLink, "01 81"},
    {"DeleteQueueSLA", &RM::addDeleteQueueSLA, "01 83"},
    {"GetOLTBridgingMode", &RM::addGetOLTBridgingMode, "01 84"},
    {"SetEncryptionModeDefault", &RM::addSetEncryptionModeDefault, "01 89"},
    {"SetLinkSLA", &RM::addSetLinkSLA, "01 8d"},
    {"GetOltRule", &RM::addGetOltRule, "01 8f"},
    {"OltRule", &RM::addOltRule, "01 90"},
    {"DeleteOltPortLinkRule", &RM::addDeleteOltPortLinkRule, "01 91"},
    {"SetDomainRules", &RM::addSetDomainRules, "01 93"},
    {"SetDBAAggregateBandwidth", &RM::addSetDBAAggregateBandwidth, "01 9c"},
    {"GetOAMExtensionSetSupport", &RM::addGetOAMExtensionSetSupport, "01 b3"},
    {"SetOamExtensionSetSupport", &RM::addSetOamExtensionSetSupport, "01 b4"},
    {"SetEPONSyncTime", &RM::addSetEPONSyncTime, "02 20"},
    {"SetDomainVersion2", &RM::addSetDomainVersion2, "02 25"},
    {"CTC21OpticalDiagnosis", &RM::addGetCTC21OpticalTransceiverDiagnosis, "02 49"},
};

class PlainRequest : public testing::TestWithParam<PlainEntry> {};
class PayloadRequest : public testing::TestWithParam<PayloadEntry> {};

constexpr auto kNameOf = [](const auto& entry) { return std::string(entry.param.name); };

INSTANTIATE_TEST_SUITE_P(Catalogue, PlainRequest, testing::ValuesIn(kPlainEntries), kNameOf);
INSTANTIATE_TEST_SUITE_P(Catalogue, PayloadRequest, testing::ValuesIn(kPayloadEntries), kNameOf);

std::string frame(const RequestMessage& requests, std::size_t index) {
    return hexText(*requests.getAll().at(index));
}

TEST_P(PlainRequest, IsItsIdTheCtagAndNoData) {
    RequestMessage requests;
    (requests.*GetParam().add)();
    ASSERT_EQ(requests.getAll().size(), 1U);
    EXPECT_EQ(frame(requests, 0), std::string(GetParam().id) + " 00 01 00 00");
}

TEST_P(PayloadRequest, IsItsIdTheCtagAndThePayload) {
    RequestMessage requests;
    TKMPayload payload;
    payload.addHex("aabb").addBool(true);
    (requests.*GetParam().add)(&payload);
    ASSERT_EQ(requests.getAll().size(), 1U);
    EXPECT_EQ(frame(requests, 0), std::string(GetParam().id) + " 00 01 00 03 aa bb 01");
}

TEST_P(PayloadRequest, LeavesThePayloadToTheCallerForTheNextRequest) {
    RequestMessage requests;
    TKMPayload payload;
    payload.addHex("aabb");
    (requests.*GetParam().add)(&payload);
    EXPECT_EQ(payload.toString(), "aabb");
    payload.clear();
    payload.addHex("cc");
    (requests.*GetParam().add)(&payload);
    const std::string id = GetParam().id;
    EXPECT_EQ(frame(requests, 0), id + " 00 01 00 02 aa bb");
    EXPECT_EQ(frame(requests, 1), id + " 00 02 00 01 cc");
}

TEST_P(PayloadRequest, OfAnEmptyPayloadIsTheHeaderAlone) {
    RequestMessage requests;
    TKMPayload payload;
    (requests.*GetParam().add)(&payload);
    EXPECT_EQ(frame(requests, 0), std::string(GetParam().id) + " 00 01 00 00");
}

TEST(RequestMessage, CatalogueHasFortyTwoDifferentIds) {
    std::set<std::string> ids;
    for (const PlainEntry& entry : kPlainEntries) {
        ids.insert(entry.id);
    }
    for (const PayloadEntry& entry : kPayloadEntries) {
        ids.insert(entry.id);
    }
    EXPECT_EQ(ids.size(), 42U);
}

TEST(RequestMessage, EventIdsAreThoseOfTheCards) {
    EXPECT_EQ(static_cast<std::uint16_t>(TKIDMessage::OLTReady), 32768);
    EXPECT_EQ(static_cast<std::uint16_t>(TKIDMessage::LinkDiscovery), 32793);
    EXPECT_EQ(static_cast<std::uint16_t>(TKIDMessage::ReportAlarm), 32794);
    EXPECT_EQ(static_cast<std::uint16_t>(TKIDMessage::OnuLinkMovedBetweenPonPorts), 32811);
}

TEST(RequestMessage, StartsEmpty) {
    EXPECT_TRUE(RequestMessage().getAll().empty());
}

TEST(RequestMessage, KeepsRequestsInTheOrderAddedWithAscendingCtags) {
    RequestMessage requests;
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    ASSERT_EQ(requests.getAll().size(), 2U);
    EXPECT_EQ(frame(requests, 0), "00 07 00 01 00 00");
    EXPECT_EQ(frame(requests, 1), "00 08 00 02 00 00");
}

TEST(RequestMessage, CtagsGoOnAfterClear) {
    RequestMessage requests;
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    requests.clear();
    EXPECT_TRUE(requests.getAll().empty());
    requests.addDisableOLT();
    ASSERT_EQ(requests.getAll().size(), 1U);
    EXPECT_EQ(frame(requests, 0), "00 09 00 03 00 00");
}

TEST(RequestMessage, NewMessageIsNotInTheListAndUsesUpItsCtag) {
    RequestMessage requests;
    const auto data = bytes("aa bb");
    const auto message = requests.getNewMessage(TKIDMessage::SetPath, data.data(), 2);
    EXPECT_EQ(hexText(*message), "01 78 00 01 00 02 aa bb");
    EXPECT_TRUE(requests.getAll().empty());
    requests.addEnableOLT();
    EXPECT_EQ(frame(requests, 0), "00 08 00 02 00 00");
}

TEST(RequestMessage, MessageBuiltElsewhereIsAppendedAsItIs) {
    RequestMessage requests;
    requests.addGetOLTInformation();
    requests.addMessage(std::make_unique<TKMessage>(TKIDMessage::EnableOLT, std::uint16_t{0x4242},
                                                    nullptr, std::uint16_t{0}));
    requests.addDisableOLT();
    ASSERT_EQ(requests.getAll().size(), 3U);
    EXPECT_EQ(frame(requests, 1), "00 08 42 42 00 00");
    EXPECT_EQ(frame(requests, 2), "00 09 00 02 00 00");
}

std::uint16_t nextCtag(RequestMessage& requests) {
    return requests.getNewMessage(TKIDMessage::EnableOLT, nullptr, 0)->getCtag();
}

void skipCtags(RequestMessage& requests, int count) {
    for (int i = 0; i < count; i++) {
        nextCtag(requests);
    }
}

TEST(RequestMessage, CtagWrapsThroughZeroAndLeavesOutOne) {
    RequestMessage requests;
    skipCtags(requests, 0xFFFD);
    for (const int expected : {0xFFFE, 0xFFFF, 0x0000, 0x0002, 0x0003}) {
        EXPECT_EQ(nextCtag(requests), expected);
    }
}

TEST(RequestMessage, SecondWrapIsLikeTheFirst) {
    RequestMessage requests;
    skipCtags(requests, 0x10000);  // 1 to 0xFFFF and 0: the next is 2
    EXPECT_EQ(nextCtag(requests), 2);
    skipCtags(requests, 0xFFFD - 2);
    for (const int expected : {0xFFFE, 0xFFFF, 0x0000, 0x0002, 0x0003}) {
        EXPECT_EQ(nextCtag(requests), expected);
    }
}

TEST(RequestMessage, Messages65536And65537OfOneListHaveCtags0And2) {
    RequestMessage requests;
    for (int i = 0; i < 65537; i++) {
        requests.addEnableOLT();
    }
    EXPECT_EQ(frame(requests, 65534), "00 08 ff ff 00 00");
    EXPECT_EQ(frame(requests, 65535), "00 08 00 00 00 00");
    EXPECT_EQ(frame(requests, 65536), "00 08 00 02 00 00");
}

TEST(RequestMessage, DebugPrintsAFirstAndALastLineOnly) {
    RequestMessage requests;
    requests.addEnableOLT();
    requests.addDisableOLT();
    testing::internal::CaptureStdout();
    requests.debug();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Request Message - Init\nRequest Message - End\n");
}

TEST(RequestMessage, FailedRequestLeavesTheListAndTheCtagsUnchanged) {
    RequestMessage requests;
    requests.addEnableOLT();
    {
        const FailingAllocation noMemory(FailingAllocation::Kind::NoThrow);
        EXPECT_EQ(messageThrownBy([&] { requests.addDisableOLT(); }),
                  "Not enough memory to allocate a new TKMessage with size6");
    }
    ASSERT_EQ(requests.getAll().size(), 1U);
    requests.addDisableOLT();
    EXPECT_EQ(frame(requests, 1), "00 09 00 02 00 00");
}

TEST(RequestMessage, PayloadThatFindsNoMemoryGoesOutEmpty) {
    RequestMessage requests;
    TKMPayload payload;
    payload.addHex("aabb");
    {
        const FailingAllocation noMemoryOnce(FailingAllocation::Kind::NoThrow, 1);
        requests.addSetPath(&payload);
    }
    ASSERT_EQ(requests.getAll().size(), 1U);
    EXPECT_EQ(frame(requests, 0), "01 78 00 01 00 00");
}

}  // namespace
}  // namespace ponmgr
