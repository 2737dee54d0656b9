#include <gtest/gtest.h>

#include <chrono>

#include "ParsedDatagram.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {
namespace {

using test::cut;
using test::FieldPlace;
using test::firstMissing;
using test::originThrownBy;
using test::parsed;
using test::received;

// ---- Report Alarm

const std::string kAlarmHeader = "80 1a 00 00 00 11 00 00 00 01";

const std::string kPortAlarm = "05 00 0f e9 01 02 03 01 00 11 01 fe 00";
constexpr FieldPlace kPortAlarmFields[] = {{0, 1},  {1, 6},  {7, 2}, {9, 1},
                                           {10, 1}, {11, 1}, {12, 1}};
constexpr const char* kPortAlarmRecord =
    R"({"alarm_count":"254","alarm_id":"17","alarm_info_len":"0","alarm_message_id":"32794",)"
    R"("alarm_state":"1","entity_tag":"5","id":"0","mac_address":"00:0f:e9:01:02:03",)"
    R"("port_number":"256"})";

/// Behind the tag, for the two kinds of links.
const std::string kLinkAlarm = "00 0f e9 01 02 03 81 00 02 ff";
constexpr FieldPlace kLinkAlarmFields[] = {{0, 1}, {1, 6}, {7, 1}, {8, 1}, {9, 1}, {10, 1}};

std::string linkAlarmRecord(const std::string& tag) {
    return R"({"alarm_count":"2","alarm_id":"129","alarm_info_len":"255",)"
           R"("alarm_message_id":"32794","alarm_state":"0","entity_tag":")" +
           tag + R"(","id":"0","mac_address":"00:0f:e9:01:02:03"})";
}

TEST(AlarmResponses, AlarmOfAPortHasThePortNumberBehindTheMac) {
    EXPECT_EQ(parsed(kAlarmHeader + kPortAlarm), kPortAlarmRecord);
}

TEST(AlarmResponses, AlarmOfALinkHasNoPortNumber) {
    EXPECT_EQ(parsed(kAlarmHeader + "03" + kLinkAlarm), linkAlarmRecord("3"));
    EXPECT_EQ(parsed(kAlarmHeader + "07" + kLinkAlarm), linkAlarmRecord("7"));
}

TEST(AlarmResponses, AlarmIgnoresTheInformationBehindItWhateverItsLengthSays) {
    EXPECT_EQ(parsed(kAlarmHeader + kPortAlarm + "aa bb cc"), kPortAlarmRecord);
    EXPECT_EQ(parsed(kAlarmHeader + "03" + kLinkAlarm + "aa"), linkAlarmRecord("3"));
}

TEST(AlarmResponses, AlarmWithoutANameIsReadAllTheSame) {
    EXPECT_EQ(parsed(kAlarmHeader + "07 00 0f e9 01 02 03 14 ff 00 00"),
              R"({"alarm_count":"0","alarm_id":"20","alarm_info_len":"0",)"
              R"("alarm_message_id":"32794","alarm_state":"255","entity_tag":"7","id":"0",)"
              R"("mac_address":"00:0f:e9:01:02:03"})");
}

TEST(AlarmResponses, AlarmIsNotJudgedByResultOrLengthField) {
    EXPECT_EQ(parsed("80 1a 00 00 00 00 00 01 00 01" + kPortAlarm), kPortAlarmRecord);
    EXPECT_EQ(parsed("80 1a 00 00 ff ff ff ff ff ff" + kPortAlarm), kPortAlarmRecord);
}

struct Tag {
    const char* byte;
    const char* text;
};

TEST(AlarmResponses, AlarmOfAnyOtherEntityIsNotHandled) {
    for (const Tag& tag : {Tag{"00", "0"}, Tag{"01", "1"}, Tag{"02", "2"}, Tag{"04", "4"},
                           Tag{"06", "6"}, Tag{"08", "8"}, Tag{"15", "21"}, Tag{"ff", "255"}}) {
        const std::string failure =
            std::string("parseReport_Alarm: Entity Tag(") + tag.text + ") not handled";
        EXPECT_EQ(parsed(kAlarmHeader + tag.byte + kLinkAlarm), failure);
        EXPECT_EQ(parsed(kAlarmHeader + tag.byte), failure);
    }
}

TEST(AlarmResponses, AlarmOfAPortFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < 13; length++) {
        EXPECT_EQ(parsed(kAlarmHeader + cut(kPortAlarm, length)),
                  "parseReport_Alarm: " + firstMissing(kPortAlarmFields, length))
            << length << " bytes";
    }
}

TEST(AlarmResponses, AlarmOfALinkFailsOnTheFirstFieldThatDoesNotFit) {
    for (const char* tag : {"03", "07"}) {
        for (std::size_t length = 0; length < 11; length++) {
            EXPECT_EQ(parsed(kAlarmHeader + cut(tag + kLinkAlarm, length)),
                      "parseReport_Alarm: " + firstMissing(kLinkAlarmFields, length))
                << length << " bytes";
        }
    }
}

TEST(AlarmResponses, AlarmShorterThanItsHeaderHasNothingToRead) {
    for (const char* datagram : {"80 1a 00 00 00 11 05 05", "80 1a 00 00 00 11 05 05 05"}) {
        EXPECT_EQ(parsed(datagram), "parseReport_Alarm: Impossible to parse offset=0, length=1");
    }
}

// ---- the diagnosis of an optical transceiver

const std::string kDiagnosisData = "00 0f e9 01 02 03 19 00 80 e8 13 88 27 10 ff fe";
constexpr FieldPlace kDiagnosisFields[] = {{0, 6}, {6, 2}, {8, 2}, {10, 2}, {12, 2}, {14, 2}};

const std::string kDiagnosisParser = "parseGet_CTC_21_Optical_Transceiver_Diagnosis: ";

std::string diagnosis(const std::string& lengthField, const std::string& result,
                      const std::string& data) {
    return "02 49 00 01" + lengthField + result + data;
}

std::string diagnosisRecord(const std::string& result) {
    return R"({"id":"0","result":")" + result +
           R"(","supply_vcc":"33000","target_onu":"00:0f:e9:01:02:03",)"
           R"("transceiver_temperature":"6400","tx_bias_current":"5000",)"
           R"("tx_power_in":"10000","tx_power_out":"65534"})";
}

std::string resultOnly(const std::string& result) {
    return R"({"id":"0","result":")" + result + R"("})";
}

TEST(AlarmResponses, DiagnosisHasTheRawReadings) {
    EXPECT_EQ(parsed(diagnosis("00 12", "00 00", kDiagnosisData)), diagnosisRecord("0"));
}

TEST(AlarmResponses, DiagnosisIgnoresBytesBehindItsLast) {
    EXPECT_EQ(parsed(diagnosis("00 13", "00 00", kDiagnosisData + "99")), diagnosisRecord("0"));
}

TEST(AlarmResponses, DiagnosisOfResultZeroWithALengthFieldOfSevenOrLessIsInvalid) {
    for (const char* length : {"00 00", "00 02", "00 06", "00 07"}) {
        EXPECT_EQ(parsed(diagnosis(length, "00 00", kDiagnosisData)),
                  kDiagnosisParser + "Invalid Optical Transceiver Diagnosis")
            << length;
        EXPECT_EQ(parsed(diagnosis(length, "00 00", "")),
                  kDiagnosisParser + "Invalid Optical Transceiver Diagnosis")
            << length;
    }
}

TEST(AlarmResponses, DiagnosisWithALengthFieldOfEightIsItsResultWhateverItsData) {
    EXPECT_EQ(parsed(diagnosis("00 08", "00 00", "")), resultOnly("0"));
    EXPECT_EQ(parsed(diagnosis("00 08", "00 00", kDiagnosisData)), resultOnly("0"));
}

TEST(AlarmResponses, DiagnosisWithALengthFieldAboveEightIsRead) {
    for (const char* length : {"00 09", "01 00", "08 00", "ff ff"}) {
        EXPECT_EQ(parsed(diagnosis(length, "00 00", kDiagnosisData)), diagnosisRecord("0"))
            << length;
    }
}

TEST(AlarmResponses, DiagnosisThatFailedWithALengthFieldOfEightOrLessIsItsResult) {
    for (const char* length : {"00 00", "00 02", "00 07", "00 08"}) {
        EXPECT_EQ(parsed(diagnosis(length, "00 01", "")), resultOnly("1")) << length;
        EXPECT_EQ(parsed(diagnosis(length, "01 00", kDiagnosisData)), resultOnly("256")) << length;
        EXPECT_EQ(parsed(diagnosis(length, "ff ff", "")), resultOnly("65535")) << length;
    }
}

TEST(AlarmResponses, DiagnosisThatFailedIsReadAboveALengthFieldOfEight) {
    EXPECT_EQ(parsed(diagnosis("00 09", "00 03", kDiagnosisData)), diagnosisRecord("3"));
    EXPECT_EQ(parsed(diagnosis("00 09", "00 03", "")),
              kDiagnosisParser + "Impossible to parse offset=0, length=6");
}

TEST(AlarmResponses, DiagnosisFailsOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < 16; length++) {
        EXPECT_EQ(parsed(diagnosis("00 12", "00 00", cut(kDiagnosisData, length))),
                  kDiagnosisParser + firstMissing(kDiagnosisFields, length))
            << length << " bytes";
    }
}

// ---- statistics

const std::string kStatisticsTarget = "05 00 0f e9 01 02 03 01 00";
const std::string kTwoStatistics =
    "00 01 02 03 00 00 00 01 00 00 00 00"
    "ff fe ff 80 ff ff ff ff ff ff ff ff";
constexpr FieldPlace kStatisticsFields[] = {{0, 1},  {1, 6},  {7, 2},  {9, 2},  {11, 1}, {12, 1},
                                            {13, 8}, {21, 2}, {23, 1}, {24, 1}, {25, 8}};
const std::string kFirstStatistic =
    R"({"id":"0","result_id_flags":"3","result_id_val_element":"2","result_id_val_group":"1",)"
    R"("result_value":"4294967296"})";
const std::string kSecondStatistic =
    R"({"id":"0","result_id_flags":"128","result_id_val_element":"255",)"
    R"("result_id_val_group":"65534","result_value":"18446744073709551615"})";

std::string statistics(const std::string& lengthField, const std::string& result,
                       const std::string& data) {
    return "01 38 00 01" + lengthField + result + data;
}

/// The record with the given items, or without a list when there are none.
std::string statisticsRecord(const std::string& result, const std::string& items) {
    return R"({"id":"0","result":")" + result +
           R"(","target_label_mac_address":"00:0f:e9:01:02:03",)"
           R"("target_label_port_number":"256","target_tag":"5")" +
           (items.empty() ? "}" : R"(,"result_list_stats":[)" + items + "]}");
}

TEST(AlarmResponses, StatisticsHaveTheirTargetAndEveryItemInItsOrder) {
    EXPECT_EQ(parsed(statistics("00 23", "00 00", kStatisticsTarget + kTwoStatistics)),
              statisticsRecord("0", kFirstStatistic + "," + kSecondStatistic));
}

TEST(AlarmResponses, StatisticsOfResultZeroWithALengthFieldOfEightOrLessAreInvalid) {
    for (const char* length : {"00 00", "00 02", "00 07", "00 08"}) {
        EXPECT_EQ(parsed(statistics(length, "00 00", kStatisticsTarget + kTwoStatistics)),
                  "parseGet_Statistics: Invalid Statistics")
            << length;
        EXPECT_EQ(parsed(statistics(length, "00 00", "")),
                  "parseGet_Statistics: Invalid Statistics")
            << length;
    }
}

TEST(AlarmResponses, StatisticsWithALengthFieldOfNineAreTheirResultWhateverTheirData) {
    EXPECT_EQ(parsed(statistics("00 09", "00 00", "")), resultOnly("0"));
    EXPECT_EQ(parsed(statistics("00 09", "00 00", kStatisticsTarget + kTwoStatistics)),
              resultOnly("0"));
}

TEST(AlarmResponses, StatisticsThatFailedWithALengthFieldOfNineOrLessAreTheirResult) {
    for (const char* length : {"00 00", "00 02", "00 08", "00 09"}) {
        EXPECT_EQ(parsed(statistics(length, "00 01", "")), resultOnly("1")) << length;
        EXPECT_EQ(parsed(statistics(length, "ff ff", kStatisticsTarget)), resultOnly("65535"))
            << length;
    }
}

TEST(AlarmResponses, StatisticsThatFailedAreReadAboveALengthFieldOfNine) {
    EXPECT_EQ(parsed(statistics("00 0a", "00 03", kStatisticsTarget)), statisticsRecord("3", ""));
    EXPECT_EQ(parsed(statistics("00 0a", "00 03", "")),
              "parseGet_Statistics: Impossible to parse offset=0, length=1");
}

TEST(AlarmResponses, StatisticsAreCountedFromTheLengthFieldWhateverTheirData) {
    const std::string data = kStatisticsTarget + kTwoStatistics;
    for (const char* length : {"00 0a", "00 0b", "00 13", "00 14"}) {
        EXPECT_EQ(parsed(statistics(length, "00 00", data)), statisticsRecord("0", "")) << length;
        EXPECT_EQ(parsed(statistics(length, "00 00", kStatisticsTarget)), statisticsRecord("0", ""))
            << length;
    }
    for (const char* length : {"00 15", "00 16", "00 20"}) {
        EXPECT_EQ(parsed(statistics(length, "00 00", data)), statisticsRecord("0", kFirstStatistic))
            << length;
    }
    for (const char* length : {"00 21", "00 22", "00 2c"}) {
        EXPECT_EQ(parsed(statistics(length, "00 00", data)),
                  statisticsRecord("0", kFirstStatistic + "," + kSecondStatistic))
            << length;
    }
}

TEST(AlarmResponses, StatisticsOfMoreItemsThanTheDataHoldsFailOnTheFirstMissing) {
    const std::string data = kStatisticsTarget + kTwoStatistics;
    for (const char* length : {"00 2d", "01 00", "ff ff"}) {
        EXPECT_EQ(parsed(statistics(length, "00 00", data)),
                  "parseGet_Statistics: Impossible to parse offset=33, length=2")
            << length;
    }
}

TEST(AlarmResponses, StatisticsIgnoreBytesBehindTheirLast) {
    EXPECT_EQ(parsed(statistics("00 21", "00 00", kStatisticsTarget + kTwoStatistics + "99")),
              statisticsRecord("0", kFirstStatistic + "," + kSecondStatistic));
}

TEST(AlarmResponses, StatisticsFailOnTheFirstFieldThatDoesNotFit) {
    const std::string data = kStatisticsTarget + kTwoStatistics;
    for (std::size_t length = 0; length < 33; length++) {
        EXPECT_EQ(parsed(statistics("00 23", "00 00", cut(data, length))),
                  "parseGet_Statistics: " + firstMissing(kStatisticsFields, length))
            << length << " bytes";
    }
}

// ---- readings in an event that is shorter than its header

TEST(AlarmResponses, ReadingsInAnEventShorterThanItsHeaderHaveNothingToRead) {
    ResponseMessage responses(std::chrono::milliseconds{0});
    const auto message = received("80 1a 00 01 ff ff 00 00");
    EXPECT_EQ(originThrownBy(
                  [&] { responses.parseGet_CTC_21_Optical_Transceiver_Diagnosis(message.get()); }),
              kDiagnosisParser + "Impossible to parse offset=0, length=6");
    EXPECT_EQ(originThrownBy([&] { responses.parseGet_Statistics(message.get()); }),
              "parseGet_Statistics: Impossible to parse offset=0, length=1");
}

}  // namespace
}  // namespace ponmgr
