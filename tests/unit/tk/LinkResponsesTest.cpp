#include <gtest/gtest.h>

#include <chrono>

#include "ParsedDatagram.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {
namespace {

using test::Bytes;
using test::bytes;
using test::cut;
using test::FieldPlace;
using test::firstMissing;
using test::originThrownBy;
using test::parsed;
using test::received;

// ---- lists of links

/// The ids of the two lists, which are alike.
constexpr const char* kListIds[] = {"00 76", "00 44"};

const std::string kThreeMacs =
    "00 0f e9 01 02 03"
    "ff ee dd cc bb aa"
    "00 00 00 00 00 00";

std::string parsedList(const std::string& id, const std::string& data) {
    return parsed(id + "00 01 00 00 00 00" + data);
}

TEST(LinkResponses, ListsHaveOneItemForEverySixBytesInTheirOrder) {
    for (const char* id : kListIds) {
        EXPECT_EQ(parsedList(id, kThreeMacs),
                  R"({"id":"0","link_macs":[{"id":"0","mac_address":"00:0f:e9:01:02:03"},)"
                  R"({"id":"0","mac_address":"ff:ee:dd:cc:bb:aa"},)"
                  R"({"id":"0","mac_address":"00:00:00:00:00:00"}]})");
    }
}

TEST(LinkResponses, ListsBelowOneMacAreNoList) {
    for (const char* id : kListIds) {
        for (std::size_t length = 0; length <= 5; length++) {
            EXPECT_EQ(parsedList(id, cut(kThreeMacs, length)), R"({"id":"0"})") << length;
        }
    }
}

TEST(LinkResponses, ListsLeaveOutAPartialMacAtTheEnd) {
    const std::string first = R"({"id":"0","mac_address":"00:0f:e9:01:02:03"})";
    const std::string second = R"({"id":"0","mac_address":"ff:ee:dd:cc:bb:aa"})";
    for (const char* id : kListIds) {
        for (std::size_t length = 6; length <= 11; length++) {
            EXPECT_EQ(parsedList(id, cut(kThreeMacs, length)),
                      R"({"id":"0","link_macs":[)" + first + "]}")
                << length;
        }
        for (std::size_t length = 12; length <= 17; length++) {
            EXPECT_EQ(parsedList(id, cut(kThreeMacs, length)),
                      R"({"id":"0","link_macs":[)" + first + "," + second + "]}")
                << length;
        }
    }
}

TEST(LinkResponses, ListsAreNotJudgedByResultOrLengthField) {
    for (const std::string id : kListIds) {
        for (const char* fields : {"00 00 00 01", "00 02 ff ff", "ff ff 00 03"}) {
            EXPECT_EQ(parsed(id + "00 01" + fields + "00 0f e9 01 02 03"),
                      R"({"id":"0","link_macs":[{"id":"0","mac_address":"00:0f:e9:01:02:03"}]})")
                << fields;
        }
    }
}

/// A datagram of `size` bytes whose n-th MAC ends in n.
Bytes longList(const char* id, std::size_t size) {
    Bytes datagram = bytes(std::string(id) + "00 01 00 00 00 00");
    datagram.resize(size, 0x00);
    for (std::size_t link = 0; 8 + link * 6 + 6 <= size; link++) {
        datagram[8 + link * 6 + 4] = static_cast<unsigned char>(link >> 8);
        datagram[8 + link * 6 + 5] = static_cast<unsigned char>(link & 0xFF);
    }
    return datagram;
}

void expectLinks(const Bytes& datagram, std::size_t count, const std::string& lastMac) {
    ResponseMessage responses(std::chrono::milliseconds{0});
    responses.addResponseMessage(
        std::make_unique<TKMessage>(datagram.data(), static_cast<std::uint16_t>(datagram.size())));
    responses.parseAllMessages();
    ASSERT_EQ(responses.getContainerSize(), 1U);
    const auto& links = responses.getContainer(0)->getList("link_macs");
    ASSERT_EQ(links.size(), count);
    EXPECT_EQ(links.front()->getValue("mac_address"), "00:00:00:00:00:00");
    EXPECT_EQ(links.back()->getValue("mac_address"), lastMac);
}

TEST(LinkResponses, ListsOfTheLargestEthernetFrameHave248Links) {
    for (const char* id : kListIds) {
        expectLinks(longList(id, 1500), 248, "00:00:00:00:00:f7");
        expectLinks(longList(id, 8 + 248 * 6), 248, "00:00:00:00:00:f7");
        expectLinks(longList(id, 8 + 248 * 6 - 1), 247, "00:00:00:00:00:f6");
    }
}

TEST(LinkResponses, ListsOfTheLargestMessageAreReadToTheirEnd) {
    for (const char* id : kListIds) {
        expectLinks(longList(id, 65535), 10921, "00:00:00:00:2a:a8");
    }
}

// ---- a link that moved

const std::string kMovedHeader = "80 2b 00 00 00 0c 00 00 00 01";
const std::string kMovedData = "00 0f e9 01 02 03 00 ff";
constexpr FieldPlace kMovedFields[] = {{0, 6}, {6, 1}, {7, 1}};
constexpr const char* kMovedRecord =
    R"({"alarm_message_id":"32811","from":"0","id":"0","link_mac_address":"00:0f:e9:01:02:03",)"
    R"("to":"255"})";

TEST(LinkResponses, MovedLinkHasItsMacAndBothPorts) {
    EXPECT_EQ(parsed(kMovedHeader + kMovedData), kMovedRecord);
}

TEST(LinkResponses, MovedLinkIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed(kMovedHeader + kMovedData + "01"), kMovedRecord);
}

TEST(LinkResponses, MovedLinkIsNotJudgedByResultOrLengthField) {
    EXPECT_EQ(parsed("80 2b 00 00 00 00 00 01 00 01" + kMovedData), kMovedRecord);
    EXPECT_EQ(parsed("80 2b 00 00 ff ff ff ff ff ff" + kMovedData), kMovedRecord);
}

TEST(LinkResponses, MovedLinkFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < 8; length++) {
        EXPECT_EQ(parsed(kMovedHeader + cut(kMovedData, length)),
                  "parseOnuLinkMovedBetweenPonPorts: " + firstMissing(kMovedFields, length))
            << length << " bytes";
    }
}

TEST(LinkResponses, MovedLinkShorterThanItsHeaderHasNothingToRead) {
    for (const char* datagram : {"80 2b 00 00 00 0c 00 00", "80 2b 00 00 00 0c 00 00 00"}) {
        EXPECT_EQ(parsed(datagram),
                  "parseOnuLinkMovedBetweenPonPorts: Impossible to parse offset=0, length=6");
    }
}

// ---- a link's information

const std::string kLinkMac = "00 0f e9 01 02 03";
const std::string kAfterLength =
    "00 0f e9"
    "a1 b2"
    "03 0c"
    "00 01"
    "01 00"
    "02"
    "ff fe"
    "07"
    "80"
    "05"
    "06";
const std::string kLinkData = kLinkMac + "00 12" + kAfterLength;
constexpr std::size_t kLinkSize = 26;
constexpr FieldPlace kLinkFields[] = {{0, 6},  {6, 2},  {8, 3},  {11, 2}, {13, 2}, {15, 2}, {17, 2},
                                      {19, 1}, {20, 2}, {22, 1}, {23, 1}, {24, 1}, {25, 1}};

/// The link's information as JSON members, up to where "result" belongs.
std::string linkValues(const std::string& length) {
    return R"("id":"0","info_downstream_epon_port":"2","info_length":")" + length +
           R"(","info_llid":"0001","info_pending_grants_limit":"128",)"
           R"("info_product_code":"a1b2","info_product_version":"030c",)"
           R"("info_reporting_formats":"7","info_rtt":"256","info_upstream_epon_port":"6",)"
           R"("info_upstream_speeds":"5","info_vendor_oui":"000fe9","info_vendor_type":"65534",)"
           R"("link_mac":"00:0f:e9:01:02:03")";
}

// ---- Link Discovery

std::string discovery(const std::string& lengthField, const std::string& data) {
    return "80 19 00 00" + lengthField + "00 00 00 01" + data;
}

std::string discoveredLink(const std::string& length) {
    return R"({"alarm_message_id":"32793",)" + linkValues(length) + "}";
}

TEST(LinkResponses, DiscoveredLinkHasEveryFieldAtItsPlace) {
    EXPECT_EQ(parsed(discovery("00 1e", kLinkData)), discoveredLink("18"));
}

TEST(LinkResponses, DiscoveredLinkIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed(discovery("00 1f", kLinkData + "99")), discoveredLink("18"));
}

TEST(LinkResponses, DiscoveredLinkIsNotJudgedByItsResult) {
    for (const char* result : {"00 01", "00 03", "ff ff"}) {
        EXPECT_EQ(parsed(std::string("80 19 00 00 00 1e ") + result + "00 01" + kLinkData),
                  discoveredLink("18"))
            << result;
    }
}

TEST(LinkResponses, DiscoveredLinkWithALengthFieldOfSevenOrLessIsInvalidWhateverItsData) {
    for (const char* length : {"00 00", "00 01", "00 06", "00 07"}) {
        EXPECT_EQ(parsed(discovery(length, kLinkData)), "parseLink_Discovery: Invalid Link payload")
            << length;
        EXPECT_EQ(parsed(discovery(length, "")), "parseLink_Discovery: Invalid Link payload")
            << length;
    }
}

TEST(LinkResponses, DiscoveredLinkWithALengthFieldAboveSevenIsRead) {
    for (const char* length : {"00 08", "00 09", "01 00", "07 00", "ff ff"}) {
        EXPECT_EQ(parsed(discovery(length, kLinkData)), discoveredLink("18")) << length;
    }
}

TEST(LinkResponses, DiscoveredLinkThatStatesBelow18BytesIsRefusedWhateverItsData) {
    for (const char* length : {"00 00", "00 01", "00 10", "00 11"}) {
        EXPECT_EQ(parsed(discovery("00 1e", kLinkMac + length + kAfterLength)),
                  "parseLink_Discovery: Link Length is below 18 bytes")
            << length;
        EXPECT_EQ(parsed(discovery("00 0c", kLinkMac + length)),
                  "parseLink_Discovery: Link Length is below 18 bytes")
            << length;
    }
}

TEST(LinkResponses, DiscoveredLinkThatStatesMoreThanItHasIsReadAllTheSame) {
    EXPECT_EQ(parsed(discovery("00 1e", kLinkMac + "00 13" + kAfterLength)), discoveredLink("19"));
    EXPECT_EQ(parsed(discovery("00 1e", kLinkMac + "11 00" + kAfterLength)),
              discoveredLink("4352"));
    EXPECT_EQ(parsed(discovery("00 1e", kLinkMac + "ff ff" + kAfterLength)),
              discoveredLink("65535"));
}

TEST(LinkResponses, DiscoveredLinkFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < kLinkSize; length++) {
        EXPECT_EQ(parsed(discovery("00 1e", cut(kLinkData, length))),
                  "parseLink_Discovery: " + firstMissing(kLinkFields, length))
            << length << " bytes";
    }
}

TEST(LinkResponses, DiscoveredLinkShorterThanItsHeaderHasNothingToRead) {
    for (const char* datagram : {"80 19 00 00 00 1e 00 00", "80 19 00 00 00 1e 00 00 00"}) {
        EXPECT_EQ(parsed(datagram), "parseLink_Discovery: Impossible to parse offset=0, length=6");
    }
    EXPECT_EQ(parsed("80 19 00 00 00 02 00 00"), "parseLink_Discovery: Invalid Link payload");
}

// ---- ONU Information

std::string onuInformation(const std::string& lengthField, const std::string& result,
                           const std::string& data) {
    return "01 6b 00 01" + lengthField + result + data;
}

std::string onuRecord(const std::string& length, const std::string& result) {
    return "{" + linkValues(length) + R"(,"result":")" + result + R"("})";
}

TEST(LinkResponses, OnuInformationHasEveryFieldAtItsPlaceAndNoMessageId) {
    EXPECT_EQ(parsed(onuInformation("00 1c", "00 00", kLinkData)), onuRecord("18", "0"));
}

TEST(LinkResponses, OnuInformationIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed(onuInformation("00 1d", "00 00", kLinkData + "99")), onuRecord("18", "0"));
}

TEST(LinkResponses, OnuInformationOfResultZeroWithALengthFieldOfSevenOrLessIsInvalid) {
    for (const char* length : {"00 00", "00 02", "00 06", "00 07"}) {
        EXPECT_EQ(parsed(onuInformation(length, "00 00", kLinkData)),
                  "parseGet_ONU_Information: Invalid Link Info payload")
            << length;
        EXPECT_EQ(parsed(onuInformation(length, "00 00", "")),
                  "parseGet_ONU_Information: Invalid Link Info payload")
            << length;
    }
}

TEST(LinkResponses, OnuInformationWithALengthFieldOfEightIsItsResultWhateverItsData) {
    EXPECT_EQ(parsed(onuInformation("00 08", "00 00", "")), R"({"id":"0","result":"0"})");
    EXPECT_EQ(parsed(onuInformation("00 08", "00 00", kLinkData)), R"({"id":"0","result":"0"})");
}

TEST(LinkResponses, OnuInformationWithALengthFieldAboveEightIsRead) {
    for (const char* length : {"00 09", "01 00", "08 00", "ff ff"}) {
        EXPECT_EQ(parsed(onuInformation(length, "00 00", kLinkData)), onuRecord("18", "0"))
            << length;
    }
}

TEST(LinkResponses, OnuInformationThatFailedWithALengthFieldOfEightOrLessIsItsResult) {
    for (const char* length : {"00 00", "00 02", "00 07", "00 08"}) {
        EXPECT_EQ(parsed(onuInformation(length, "00 01", "")), R"({"id":"0","result":"1"})")
            << length;
        EXPECT_EQ(parsed(onuInformation(length, "01 00", kLinkData)),
                  R"({"id":"0","result":"256"})")
            << length;
        EXPECT_EQ(parsed(onuInformation(length, "ff ff", "")), R"({"id":"0","result":"65535"})")
            << length;
    }
}

TEST(LinkResponses, OnuInformationThatFailedIsReadAboveALengthFieldOfEight) {
    EXPECT_EQ(parsed(onuInformation("00 1c", "00 03", kLinkData)), onuRecord("18", "3"));
    EXPECT_EQ(parsed(onuInformation("00 09", "ff ff", kLinkData)), onuRecord("18", "65535"));
    EXPECT_EQ(parsed(onuInformation("00 09", "00 03", "")),
              "parseGet_ONU_Information: Impossible to parse offset=0, length=6");
}

TEST(LinkResponses, OnuInformationThatStatesBelow18BytesIsRefusedWhateverItsData) {
    for (const char* length : {"00 00", "00 01", "00 10", "00 11"}) {
        EXPECT_EQ(parsed(onuInformation("00 1c", "00 00", kLinkMac + length + kAfterLength)),
                  "parseGet_ONU_Information: Link Info Length is below 18 bytes")
            << length;
        EXPECT_EQ(parsed(onuInformation("00 0a", "00 01", kLinkMac + length)),
                  "parseGet_ONU_Information: Link Info Length is below 18 bytes")
            << length;
    }
}

TEST(LinkResponses, OnuInformationThatStatesMoreThanItHasIsReadAllTheSame) {
    EXPECT_EQ(parsed(onuInformation("00 1c", "00 00", kLinkMac + "00 13" + kAfterLength)),
              onuRecord("19", "0"));
    EXPECT_EQ(parsed(onuInformation("00 1c", "00 00", kLinkMac + "ff ff" + kAfterLength)),
              onuRecord("65535", "0"));
}

TEST(LinkResponses, OnuInformationFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < kLinkSize; length++) {
        EXPECT_EQ(parsed(onuInformation("00 1c", "00 00", cut(kLinkData, length))),
                  "parseGet_ONU_Information: " + firstMissing(kLinkFields, length))
            << length << " bytes";
    }
}

// ---- links in an event that is shorter than its header

TEST(LinkResponses, LinksInAnEventShorterThanItsHeaderHaveNothingToRead) {
    ResponseMessage responses(std::chrono::milliseconds{0});
    const auto message = received("80 1a 00 01 ff ff 00 00");
    const std::string failure = ": Impossible to parse offset=0, length=6";
    EXPECT_EQ(
        originThrownBy([&] { responses.parseGet_List_of_All_Known_Logical_Links(message.get()); }),
        "parseGet_List_of_All_Known_Logical_Links" + failure);
    EXPECT_EQ(originThrownBy([&] { responses.parseGet_List_of_Discovered_Links(message.get()); }),
              "parseGet_List_of_Discovered_Links" + failure);
    EXPECT_EQ(originThrownBy([&] { responses.parseGet_ONU_Information(message.get()); }),
              "parseGet_ONU_Information" + failure);
}

}  // namespace
}  // namespace ponmgr
