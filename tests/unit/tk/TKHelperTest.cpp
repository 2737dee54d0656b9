#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/ThrownBy.h"
#include "tk/TKHelper.h"

namespace ponmgr {
namespace {

using test::originThrownBy;
using testing::MatchesRegex;

struct Named {
    unsigned code;
    const char* name;
};

constexpr Named kAlarms[] = {
    {16, "Standard Link Fault"},
    {17, "Loss of Signal"},
    {18, "Transmit Fail"},
    {19, "Transmit Degrade"},
    {21, "MAC Learning Overflow"},
    {23, "Report Timeout"},
    {25, "OAM Keepalive Timeout"},
    {26, "Key Exchange Failure"},
    {27, "Auto Negotiation Failure"},
    {28, "External Link Fault"},
    {29, "ONU Burst Cap"},
    {30, "CTC Key Exchange Failure 3 Times"},
    {32, "Loopback"},
    {33, "Port Disabled"},
    {64, "Standard Dying Gasp"},
    {65, "Power Fail"},
    {66, "External Dying Gasp"},
    {96, "Standard Critical Event"},
    {98, "External Critical Event"},
    {128, "Standard Other Event"},
    {129, "Temperature"},
    {130, "External Alarm Gpio"},
    {135, "Num Links"},
    {137, "Mixed Network Error"},
    {138, "Layer3 IP MAC Table Overflow"},
    {140, "Dhcp Arp Dos"},
    {153, "Fpga Programming Error"},
    {154, "IGMP Out Of Internal Resources"},
    {155, "Pppoe Table Overflow"},
    {158, "IPv6 Table Overflow"},
    {161, "Improper Report Format"},
    {162, "ONU Flash Busy"},
    {163, "No Reports On EPON Port"},
    {164, "Loop Detected"},
    {165, "Optical Power Low"},
    {166, "EPON Standby LOS"},
    {167, "Critical Resource Unavailable"},
    {168, "Link Activation Failure"},
    {169, "Link Over Grant"},
    {170, "Stack Overflow"},
    {171, "Power Saving ONU Sleep"},
    {172, "ECC Uncorrectable Error"},
};
static_assert(std::size(kAlarms) == 42);

constexpr Named kPorts[] = {{0, "EPON-0"}, {1, "EPON-1"}, {2, "NNI-0"}, {3, "NNI-1"}};

constexpr Named kTags[] = {{3, "ONU Link"}, {5, "OLT Port"}, {7, "OLT Link"}};

/// Beyond every table, and the ends of what the texts and the codes can hold.
constexpr unsigned kFarCodes[] = {0xFFFF,     0x10010,    0x10081,    0x7FFFFFFF,
                                  0x80000000, 0x80000010, 0xFFFFFF81, 0xFFFFFFFF};
constexpr unsigned kNearCodes = 1024;

bool isNamed(std::span<const Named> table, unsigned code) {
    return std::ranges::find(table, code, &Named::code) != table.end();
}

/// The codes without a name: all that lie near the table, gaps included, and some far from it.
std::vector<unsigned> namelessCodes(std::span<const Named> table) {
    std::vector<unsigned> codes(std::begin(kFarCodes), std::end(kFarCodes));
    for (unsigned code = 0; code < kNearCodes; code++) {
        if (!isNamed(table, code)) {
            codes.push_back(code);
        }
    }
    return codes;
}

/// What std::stoi reads back as the code's bits.
std::string textOf(unsigned code) {
    return std::to_string(static_cast<int>(code));
}

std::string failureOf(const char* function, const char* kind, unsigned code) {
    return std::string(function) + ": TK " + kind + " ID(" + std::to_string(code) + ") not found";
}

// ---- alarms

TEST(TKHelper, AlarmIsNamedByItsCode) {
    for (const Named& alarm : kAlarms) {
        EXPECT_EQ(TKHelper::getStringReportAlarmId(TKReportAlarmId{alarm.code}), alarm.name);
    }
}

TEST(TKHelper, AlarmIsNamedByItsText) {
    for (const Named& alarm : kAlarms) {
        EXPECT_EQ(TKHelper::getStringReportAlarmId(textOf(alarm.code)), alarm.name);
    }
}

TEST(TKHelper, AlarmCodeInAGapOrBeyondTheEndsIsNotFound) {
    const auto codes = namelessCodes(kAlarms);
    ASSERT_EQ(codes.size(), 1024U - 42U + 8U);
    for (const unsigned code : codes) {
        EXPECT_EQ(originThrownBy([&] { TKHelper::getStringReportAlarmId(TKReportAlarmId{code}); }),
                  failureOf("getStringReportAlarmId", "Report Alarm", code));
    }
}

TEST(TKHelper, AlarmTextInAGapOrBeyondTheEndsIsNotFound) {
    for (const unsigned code : namelessCodes(kAlarms)) {
        EXPECT_EQ(originThrownBy([&] { TKHelper::getStringReportAlarmId(textOf(code)); }),
                  failureOf("getStringReportAlarmId", "Report Alarm", code));
    }
}

TEST(TKHelper, AlarmThatIsNotFoundIsNamedInDecimal) {
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringReportAlarmId("20"); }),
              "getStringReportAlarmId: TK Report Alarm ID(20) not found");
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringReportAlarmId(TKReportAlarmId{0x14}); }),
              "getStringReportAlarmId: TK Report Alarm ID(20) not found");
}

TEST(TKHelper, NegativeAlarmIsNotFoundByTheUnsignedCode) {
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringReportAlarmId("-1"); }),
              "getStringReportAlarmId: TK Report Alarm ID(4294967295) not found");
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringReportAlarmId("-129"); }),
              "getStringReportAlarmId: TK Report Alarm ID(4294967167) not found");
}

TEST(TKHelper, AlarmsThatTheDaemonActsOnHaveTheirCodes) {
    EXPECT_EQ(TKHelper::toReportAlarmId("23"), TKReportAlarmId::ReportTimeout);
    EXPECT_EQ(TKHelper::toReportAlarmId("64"), TKReportAlarmId::StandardDyingGasp);
}

// ---- ports

TEST(TKHelper, PortIsNamedByItsCodeAndByItsText) {
    for (const Named& port : kPorts) {
        EXPECT_EQ(TKHelper::getStringEntityPortId(TKEntityPortId{port.code}), port.name);
        EXPECT_EQ(TKHelper::getStringEntityPortId(textOf(port.code)), port.name);
    }
}

TEST(TKHelper, PortBeyondTheLastIsNotFound) {
    for (const unsigned code : namelessCodes(kPorts)) {
        const std::string failure = failureOf("getStringEntityPortId", "Entity Port", code);
        EXPECT_EQ(originThrownBy([&] { TKHelper::getStringEntityPortId(TKEntityPortId{code}); }),
                  failure);
        EXPECT_EQ(originThrownBy([&] { TKHelper::getStringEntityPortId(textOf(code)); }), failure);
    }
}

TEST(TKHelper, PortThatIsNotFoundIsNamedInDecimal) {
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringEntityPortId("4"); }),
              "getStringEntityPortId: TK Entity Port ID(4) not found");
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringEntityPortId("-1"); }),
              "getStringEntityPortId: TK Entity Port ID(4294967295) not found");
}

// ---- tags

TEST(TKHelper, TagIsNamedByItsCodeAndByItsText) {
    for (const Named& tag : kTags) {
        EXPECT_EQ(TKHelper::getStringEntityTagId(TKEntityTagId{tag.code}), tag.name);
        EXPECT_EQ(TKHelper::getStringEntityTagId(textOf(tag.code)), tag.name);
    }
}

TEST(TKHelper, TagInAGapOrBeyondTheEndsIsNotFound) {
    for (const unsigned code : namelessCodes(kTags)) {
        const std::string failure = failureOf("getStringEntityTagId", "Entity Tag", code);
        EXPECT_EQ(originThrownBy([&] { TKHelper::getStringEntityTagId(TKEntityTagId{code}); }),
                  failure);
        EXPECT_EQ(originThrownBy([&] { TKHelper::getStringEntityTagId(textOf(code)); }), failure);
    }
}

TEST(TKHelper, TagThatIsNotFoundIsNamedInDecimal) {
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringEntityTagId("4"); }),
              "getStringEntityTagId: TK Entity Tag ID(4) not found");
    EXPECT_EQ(originThrownBy([] { TKHelper::getStringEntityTagId("-1"); }),
              "getStringEntityTagId: TK Entity Tag ID(4294967295) not found");
}

// ---- events

TEST(TKHelper, EventOfALinkThatMovedHasAName) {
    EXPECT_EQ(TKHelper::getStringGeneralReportAlarmId(TKIDMessage{0x802B}),
              "ONU Link Moved Between PON Ports");
    EXPECT_EQ(TKHelper::getStringGeneralReportAlarmId(TKHelper::toGeneralReportAlarmId("32811")),
              "ONU Link Moved Between PON Ports");
}

TEST(TKHelper, EveryOtherEventIsNamedByItsIdInDecimal) {
    for (unsigned id = 0; id <= 0xFFFF; id++) {
        if (id != 0x802B) {
            const auto event = static_cast<TKIDMessage>(id);
            ASSERT_EQ(TKHelper::getStringGeneralReportAlarmId(event),
                      "Alarm ID(" + std::to_string(id) + ")");
        }
    }
}

// ---- texts

TEST(TKHelper, TextIsReadBehindBlanksUpToTheFirstThatIsNoDigit) {
    EXPECT_EQ(TKHelper::getStringReportAlarmId(" 129abc"), "Temperature");
    EXPECT_EQ(TKHelper::getStringReportAlarmId("\t +129 64"), "Temperature");
    EXPECT_EQ(TKHelper::getStringReportAlarmId("0129"), "Temperature");
    EXPECT_EQ(TKHelper::getStringEntityPortId(" 3abc"), "NNI-1");
    EXPECT_EQ(TKHelper::getStringEntityPortId("0x3"), "EPON-0");
    EXPECT_EQ(TKHelper::getStringEntityTagId(" 5abc"), "OLT Port");
    EXPECT_EQ(TKHelper::toGeneralReportAlarmId(" 32794abc"), TKIDMessage::ReportAlarm);
}

/// Every operation over a text, its result dropped.
constexpr void (*kTextOperations[])(const std::string&) = {
    [](const std::string& text) { (void)TKHelper::toReportAlarmId(text); },
    [](const std::string& text) { (void)TKHelper::toGeneralReportAlarmId(text); },
    [](const std::string& text) { (void)TKHelper::toEntityPortId(text); },
    [](const std::string& text) { (void)TKHelper::toEntityTagId(text); },
    [](const std::string& text) { (void)TKHelper::getStringReportAlarmId(text); },
    [](const std::string& text) { (void)TKHelper::getStringEntityPortId(text); },
    [](const std::string& text) { (void)TKHelper::getStringEntityTagId(text); },
    [](const std::string& text) { (void)TKHelper::toCelsius_Temperature(text); },
    [](const std::string& text) { (void)TKHelper::toVoltage_VCC(text); },
    [](const std::string& text) { (void)TKHelper::toMiliAmps_Current(text); },
    [](const std::string& text) { (void)TKHelper::todBm_Power(text); },
};

TEST(TKHelper, TextWithoutALeadingNumberIsAnInvalidArgument) {
    for (const auto operation : kTextOperations) {
        for (const char* text : {"", " ", "abc", "a129", "-", "+-1", ".5"}) {
            EXPECT_THROW(operation(text), std::invalid_argument) << text;
        }
    }
}

TEST(TKHelper, TextBeyondIntIsOutOfRange) {
    for (const auto operation : kTextOperations) {
        for (const char* text : {"99999999999", "2147483648", "-2147483649"}) {
            EXPECT_THROW(operation(text), std::out_of_range) << text;
        }
    }
}

// ---- units

struct Reading {
    const char* raw;
    const char* celsius;
    const char* volts;
    const char* milliamperes;
    const char* decibelMilliwatts;
};

constexpr Reading kReadings[] = {
    {"1", "0.00", "0.00", "0.00", "-40.00"},
    {"3", "0.01", "0.00", "0.01", "-35.23"},
    {"10", "0.04", "0.00", "0.02", "-30.00"},
    {"100", "0.39", "0.01", "0.20", "-20.00"},
    {"256", "1.00", "0.03", "0.51", "-15.92"},
    {"5000", "19.53", "0.50", "10.00", "-3.01"},
    {"6400", "25.00", "0.64", "12.80", "-1.94"},
    {"10000", "39.06", "1.00", "20.00", "0.00"},
    {"33000", "128.91", "3.30", "66.00", "5.19"},
    {"32767", "128.00", "3.28", "65.53", "5.15"},
    {"65535", "256.00", "6.55", "131.07", "8.16"},
    {" 6400abc", "25.00", "0.64", "12.80", "-1.94"},
    // The texts have nine characters at most.
    {"2147483647", "8388608.0", "214748.36", "4294967.2", "53.32"},
};

TEST(TKHelper, TemperatureIsInCelsius) {
    for (const Reading& reading : kReadings) {
        EXPECT_EQ(TKHelper::toCelsius_Temperature(reading.raw), reading.celsius) << reading.raw;
    }
}

TEST(TKHelper, SupplyIsInVolts) {
    for (const Reading& reading : kReadings) {
        EXPECT_EQ(TKHelper::toVoltage_VCC(reading.raw), reading.volts) << reading.raw;
    }
}

TEST(TKHelper, CurrentIsInMilliamperes) {
    for (const Reading& reading : kReadings) {
        EXPECT_EQ(TKHelper::toMiliAmps_Current(reading.raw), reading.milliamperes) << reading.raw;
    }
}

TEST(TKHelper, PowerIsInDecibelMilliwatts) {
    for (const Reading& reading : kReadings) {
        EXPECT_EQ(TKHelper::todBm_Power(reading.raw), reading.decibelMilliwatts) << reading.raw;
    }
}

TEST(TKHelper, ReadingOfZeroOrLessIsReturnedAsItCame) {
    for (const char* raw : {"0", "-1", "-6400", "-2147483648", "00", " 0abc", " -5 C", "0x19"}) {
        EXPECT_EQ(TKHelper::toCelsius_Temperature(raw), raw);
        EXPECT_EQ(TKHelper::toVoltage_VCC(raw), raw);
        EXPECT_EQ(TKHelper::toMiliAmps_Current(raw), raw);
    }
}

TEST(TKHelper, PowerOfZeroIsMinusInfinity) {
    EXPECT_EQ(TKHelper::todBm_Power("0"), "-inf");
}

TEST(TKHelper, PowerOfANegativeReadingIsNotANumber) {
    for (const char* raw : {"-1", "-10000", "-2147483648"}) {
        EXPECT_THAT(TKHelper::todBm_Power(raw), MatchesRegex("-?nan")) << raw;
    }
}

}  // namespace
}  // namespace ponmgr
