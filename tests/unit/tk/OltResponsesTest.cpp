#include <gtest/gtest.h>

#include <span>

#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {
namespace {

using test::Bytes;
using test::bytes;
using test::messageThrownBy;
using test::originThrownBy;
using test::received;

constexpr std::chrono::milliseconds kNoPause{0};

/// A parsed datagram as JSON, or the failure's origin and text; both end the same way: without
/// anything left behind in the responses.
std::string parsed(const std::string& datagram) {
    ResponseMessage responses(kNoPause);
    responses.addResponseMessage(received(datagram));
    std::string json;
    const std::string failure = originThrownBy([&] {
        responses.parseAllMessages();
        json = responses.getContainer(0)->getJsonFile();
    });
    if (failure == "nothing") {
        return json;
    }
    EXPECT_EQ(responses.getMessagesSize(), 0U);
    EXPECT_EQ(responses.getContainerSize(), 0U);
    return failure;
}

/// The first `length` bytes of hexadecimal text.
std::string cut(const std::string& hex, std::size_t length) {
    const Bytes all = bytes(hex);
    return test::hexText(std::span(all).first(length));
}

struct FieldPlace {
    std::size_t offset;
    std::size_t width;
};

/// The failure of a layout with these fields when only `length` bytes are there.
std::string firstMissing(std::span<const FieldPlace> fields, std::size_t length) {
    for (const FieldPlace& field : fields) {
        if (field.offset + field.width > length) {
            return "Impossible to parse offset=" + std::to_string(field.offset) +
                   ", length=" + std::to_string(field.width);
        }
    }
    return "nothing";
}

// ---- OLT Information and OLT Ready

const std::string kOltData =
    "00 0a f5 10 20 30"
    "ee ee"
    "00 0a f5"
    "37 23"
    "a1 02"
    "03 b4"
    "56 65 6e 64 6f 72 20 69 6e 66 6f 00 00 00 00 00"
    "10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f"
    "20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f"
    "f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff"
    "01 1c"
    "ab cd"
    "de ad be ef"
    "04"
    "ff";

constexpr FieldPlace kOltFields[] = {{0, 6},  {8, 3},  {11, 2}, {13, 2}, {15, 2}, {17, 64},
                                     {81, 2}, {83, 2}, {85, 4}, {89, 1}, {90, 1}};

const std::string kOltValues =
    R"("chip_id":"abcd","chip_version":"deadbeef","firmware_version":"03b4","id":"0",)"
    R"("jedec_id":"284","num_epon_ports":"4","num_nni_ports":"255",)"
    R"("olt_epon_mac":"00:0a:f5:10:20:30","product_code":"3723","product_version":"a102",)"
    R"("vendor_info":"56656e646f7220696e666f0000000000101112131415161718191a1b1c1d1e1f)"
    R"(202122232425262728292a2b2c2d2e2ff0f1f2f3f4f5f6f7f8f9fafbfcfdfeff",)"
    R"("vendor_oui":"000af5"})";

TEST(OltResponses, OltInformationHasEveryFieldAtItsPlace) {
    EXPECT_EQ(parsed("00 07 00 01 00 5d 00 00" + kOltData), "{" + kOltValues);
}

TEST(OltResponses, OltInformationIgnoresTheTwoBytesBehindTheMac) {
    std::string data = kOltData;
    data.replace(data.find("ee ee"), 5, "00 00");
    EXPECT_EQ(parsed("00 07 00 01 00 5d 00 00" + data), "{" + kOltValues);
}

TEST(OltResponses, OltInformationIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed("00 07 00 01 00 5e 00 00" + kOltData + "99"), "{" + kOltValues);
}

TEST(OltResponses, OltInformationIsNotJudgedByResultOrLengthField) {
    EXPECT_EQ(parsed("00 07 00 01 00 00 00 01" + kOltData), "{" + kOltValues);
}

TEST(OltResponses, OltInformationOf90BytesFailsOnItsLastField) {
    EXPECT_EQ(parsed("00 07 00 01 00 5c 00 00" + cut(kOltData, 90)),
              "parseGet_OLT_Information: Impossible to parse offset=90, length=1");
}

TEST(OltResponses, OltInformationFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < 91; length++) {
        EXPECT_EQ(parsed("00 07 00 01 00 00 00 00" + cut(kOltData, length)),
                  "parseGet_OLT_Information: " + firstMissing(kOltFields, length))
            << length << " bytes";
    }
}

TEST(OltResponses, OltReadyIsOltInformationWithTheMessageId) {
    EXPECT_EQ(parsed("80 00 00 00 00 5b" + kOltData),
              R"({"alarm_message_id":"32768",)" + kOltValues);
}

TEST(OltResponses, OltReadyOf90BytesFailsOnItsLastField) {
    EXPECT_EQ(parsed("80 00 00 00 00 5a" + cut(kOltData, 90)),
              "parseGet_OLT_Information: Impossible to parse offset=90, length=1");
}

// ---- non-volatile storage

TEST(OltResponses, NvsEnabledHasTheStateNowAndAfterTheNextBoot) {
    EXPECT_EQ(parsed("01 2d 00 01 00 04 00 00 01 00"),
              R"({"after_next_boot":"1","current":"0","id":"0"})");
    EXPECT_EQ(parsed("01 2d 00 01 00 04 00 00 ff 80"),
              R"({"after_next_boot":"255","current":"128","id":"0"})");
}

TEST(OltResponses, NvsEnabledIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed("01 2d 00 01 00 05 00 00 00 01 07"),
              R"({"after_next_boot":"0","current":"1","id":"0"})");
}

TEST(OltResponses, NvsThatIsNotSupportedIsOffAndNothingElseIsSaid) {
    EXPECT_EQ(parsed("01 2d 00 01 00 02 00 01"), R"({"current":"0","id":"0"})");
    EXPECT_EQ(parsed("01 2d 00 01 00 04 00 01 01 01"), R"({"current":"0","id":"0"})");
}

TEST(OltResponses, NvsEnabledOfAnyOtherResultIsRead) {
    for (const char* result : {"00 02", "00 03", "00 09", "ff ff", "01 01"}) {
        EXPECT_EQ(parsed(std::string("01 2d 00 01 00 04 ") + result + "00 01"),
                  R"({"after_next_boot":"0","current":"1","id":"0"})")
            << result;
    }
}

TEST(OltResponses, NvsEnabledWithALengthFieldBelowFourIsInvalidWhateverItsData) {
    for (const char* length : {"00 00", "00 01", "00 02", "00 03"}) {
        EXPECT_EQ(parsed(std::string("01 2d 00 01 ") + length + "00 00 00 01"),
                  "parseGet_NVS_Enabled: Invalid NVS Enabled payload")
            << length;
    }
}

TEST(OltResponses, NvsEnabledThatIsShorterThanItsLengthFieldSaysIsNotReadBeyondItsData) {
    EXPECT_EQ(parsed("01 2d 00 01 00 04 00 00 01"),
              "parseGet_NVS_Enabled: Impossible to parse offset=1, length=1");
    EXPECT_EQ(parsed("01 2d 00 01 ff ff 00 00"),
              "parseGet_NVS_Enabled: Impossible to parse offset=0, length=1");
}

// ---- OAM extension sets

constexpr const char* kOamHeader = "01 b3 00 01 00 00 00 00";
const std::string kOamData =
    "00 0a f5 10 20 30 02"
    "fe 07 21 11 11 11 01"
    "01 ff 00 00 0a f5 00";
const std::string kOamFirstItem =
    R"({"id":"0","length":"7","oui":"111111","state":"1","type":"254","version":"33"})";
const std::string kOamSecondItem =
    R"({"id":"0","length":"255","oui":"000af5","state":"0","type":"1","version":"0"})";

std::string parsedOam(std::size_t length) {
    return parsed(kOamHeader + cut(kOamData, length));
}

TEST(OltResponses, OamSetsAreReadBehindTheSevenBytesBeforeThem) {
    EXPECT_EQ(parsedOam(21),
              R"({"id":"0","oam_sets":[)" + kOamFirstItem + "," + kOamSecondItem + "]}");
}

TEST(OltResponses, OamSetsOfSixBytesOrLessAreInvalid) {
    for (std::size_t length = 0; length <= 6; length++) {
        EXPECT_EQ(parsedOam(length), "parseGet_OAM_Extension_Set_Support: Invalid data length size")
            << length;
    }
}

TEST(OltResponses, OamSetsOfSevenToThirteenBytesAreNoList) {
    for (std::size_t length = 7; length <= 13; length++) {
        EXPECT_EQ(parsedOam(length), R"({"id":"0"})") << length;
    }
}

TEST(OltResponses, OamSetsLeaveOutAPartialRecordAtTheEnd) {
    const std::string one = R"({"id":"0","oam_sets":[)" + kOamFirstItem + "]}";
    for (std::size_t length = 14; length <= 20; length++) {
        EXPECT_EQ(parsedOam(length), one) << length;
    }
}

TEST(OltResponses, OamSetsAreNotJudgedByTheResult) {
    EXPECT_EQ(parsed("01 b3 00 01 00 09 00 01 00 0a f5 10 20 30 02"), R"({"id":"0"})");
}

// ---- domains

TEST(OltResponses, DomainsHaveIdAndCountForALengthFieldOfOneToSix) {
    for (const char* length : {"00 01", "00 04", "00 05", "00 06"}) {
        EXPECT_EQ(parsed(std::string("01 7d 00 01 ") + length + "00 00 00 01 ff fe"),
                  R"({"count":"65534","id":"1"})")
            << length;
    }
}

TEST(OltResponses, DomainsAreAnEmptyRecordForALengthFieldOfZeroOrAboveSix) {
    for (const char* length : {"00 00", "00 07", "00 08", "01 00", "ff ff"}) {
        EXPECT_EQ(parsed(std::string("01 7d 00 01 ") + length + "00 00 00 01 00 02"),
                  R"({"id":"0"})")
            << length;
        EXPECT_EQ(parsed(std::string("01 7d 00 01 ") + length + "00 00"), R"({"id":"0"})")
            << length;
    }
}

TEST(OltResponses, DomainsThatAreShorterThanTheirLengthFieldSaysAreNotReadBeyondTheirData) {
    EXPECT_EQ(parsed("01 7d 00 01 00 06 00 00 00 01 00"),
              "parseGet_All_Domains: Impossible to parse offset=2, length=2");
    EXPECT_EQ(parsed("01 7d 00 01 00 04 00 00 00 01"),
              "parseGet_All_Domains: Impossible to parse offset=2, length=2");
    EXPECT_EQ(parsed("01 7d 00 01 00 02 00 00"),
              "parseGet_All_Domains: Impossible to parse offset=0, length=2");
}

TEST(OltResponses, DomainsIgnoreBytesBehindTheirLast) {
    EXPECT_EQ(parsed("01 7d 00 01 00 06 00 00 00 01 00 02 09"), R"({"count":"2","id":"1"})");
}

// ---- paths

std::string parsedPaths(const std::string& data) {
    return parsed("01 79 00 01 00 00 00 00" + data);
}

TEST(OltResponses, PathsBelowOneRecordAreNoList) {
    EXPECT_EQ(parsedPaths(""), R"({"id":"0"})");
    EXPECT_EQ(parsedPaths("00 01 00"), R"({"id":"0"})");
}

TEST(OltResponses, PathHasIdAndUsageCount) {
    EXPECT_EQ(parsedPaths("00 05 ff ff"),
              R"({"id":"0","paths":[{"id":"5","usage_count":"65535"}]})");
}

TEST(OltResponses, PathsLeaveOutAPartialRecordAtTheEnd) {
    const std::string two =
        R"({"id":"0","paths":[{"id":"5","usage_count":"1"},{"id":"256","usage_count":"0"}]})";
    EXPECT_EQ(parsedPaths("00 05 00 01 01 00 00 00"), two);
    EXPECT_EQ(parsedPaths("00 05 00 01 01 00 00 00 77 77"), two);
    EXPECT_EQ(parsedPaths("00 05 00 01 01 00 00 00 77 77 77"), two);
}

TEST(OltResponses, PathsOfTheLargestDatagramAreAllRead) {
    ResponseMessage responses(kNoPause);
    Bytes datagram = bytes("01 79 00 01 05 d6 00 00");
    datagram.resize(1500, 0x11);
    responses.addResponseMessage(std::make_unique<TKMessage>(datagram.data(), std::uint16_t{1500}));
    responses.parseAllMessages();
    EXPECT_EQ(responses.getContainer(0)->getListSize("paths"), 373U);
}

// ---- bridging mode

constexpr const char* kBridgingHeader = "01 84 00 01 00 17 00 00";
const std::string kBridgingData =
    "00 0a f5 10 20 30  03  00 40  a0 01  00 11  b0 02  01 00  c0 03  ff ff";
constexpr FieldPlace kBridgingFields[] = {{0, 6},  {6, 1},  {7, 2},  {9, 2}, {11, 2},
                                          {13, 2}, {15, 2}, {17, 2}, {19, 2}};
constexpr const char* kBridgingRecord =
    R"({"bridging_type":"3","down_path_endpoint":"a001","down_queue_index":"17","id":"0",)"
    R"("link":"00:0a:f5:10:20:30","mac_table_entry_limit":"64","mcast_path_endpoint":"c003",)"
    R"("mcast_queue_index":"65535","up_path_endpoint":"b002","up_queue_index":"256"})";

TEST(OltResponses, BridgingModeHasEveryFieldAtItsPlace) {
    EXPECT_EQ(parsed(kBridgingHeader + kBridgingData), kBridgingRecord);
}

TEST(OltResponses, BridgingModeIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed(kBridgingHeader + kBridgingData + "77"), kBridgingRecord);
}

TEST(OltResponses, BridgingModeFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < 21; length++) {
        EXPECT_EQ(parsed(kBridgingHeader + cut(kBridgingData, length)),
                  "parseGet_OLT_Bridging_Mode: " + firstMissing(kBridgingFields, length))
            << length << " bytes";
    }
}

}  // namespace
}  // namespace ponmgr
