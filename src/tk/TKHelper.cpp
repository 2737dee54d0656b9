#include "tk/TKHelper.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "app/Exception.h"
#include "model/Helper.h"

namespace ponmgr {

namespace {

struct CodeName {
    unsigned code;
    const char* name;
};

// By code, ascending. The gaps are deliberate: a card that sends such a code is not ours.
constexpr std::array kReportAlarms = {
    CodeName{0x10, "Standard Link Fault"},
    CodeName{0x11, "Loss of Signal"},
    CodeName{0x12, "Transmit Fail"},
    CodeName{0x13, "Transmit Degrade"},
    CodeName{0x15, "MAC Learning Overflow"},
    CodeName{0x17, "Report Timeout"},
    CodeName{0x19, "OAM Keepalive Timeout"},
    CodeName{0x1A, "Key Exchange Failure"},
    CodeName{0x1B, "Auto Negotiation Failure"},
    CodeName{0x1C, "External Link Fault"},
    CodeName{0x1D, "ONU Burst Cap"},
    CodeName{0x1E, "CTC Key Exchange Failure 3 Times"},
    CodeName{0x20, "Loopback"},
    CodeName{0x21, "Port Disabled"},
    CodeName{0x40, "Standard Dying Gasp"},
    CodeName{0x41, "Power Fail"},
    CodeName{0x42, "External Dying Gasp"},
    CodeName{0x60, "Standard Critical Event"},
    CodeName{0x62, "External Critical Event"},
    CodeName{0x80, "Standard Other Event"},
    CodeName{0x81, "Temperature"},
    CodeName{0x82, "External Alarm Gpio"},
    CodeName{0x87, "Num Links"},
    CodeName{0x89, "Mixed Network Error"},
    CodeName{0x8A, "Layer3 IP MAC Table Overflow"},
    CodeName{0x8C, "Dhcp Arp Dos"},
    CodeName{0x99, "Fpga Programming Error"},
    CodeName{0x9A, "IGMP Out Of Internal Resources"},
    CodeName{0x9B, "Pppoe Table Overflow"},
    CodeName{0x9E, "IPv6 Table Overflow"},
    CodeName{0xA1, "Improper Report Format"},
    CodeName{0xA2, "ONU Flash Busy"},
    CodeName{0xA3, "No Reports On EPON Port"},
    CodeName{0xA4, "Loop Detected"},
    CodeName{0xA5, "Optical Power Low"},
    CodeName{0xA6, "EPON Standby LOS"},
    CodeName{0xA7, "Critical Resource Unavailable"},
    CodeName{0xA8, "Link Activation Failure"},
    CodeName{0xA9, "Link Over Grant"},
    CodeName{0xAA, "Stack Overflow"},
    CodeName{0xAB, "Power Saving ONU Sleep"},
    CodeName{0xAC, "ECC Uncorrectable Error"},
};

constexpr std::array kEntityPorts = {
    CodeName{0, "EPON-0"},
    CodeName{1, "EPON-1"},
    CodeName{2, "NNI-0"},
    CodeName{3, "NNI-1"},
};

constexpr std::array kEntityTags = {
    CodeName{3, "ONU Link"},
    CodeName{5, "OLT Port"},
    CodeName{7, "OLT Link"},
};

constexpr bool isBefore(const CodeName& left, const CodeName& right) {
    return left.code < right.code;
}

template <typename Table>
constexpr bool isStrictlyAscending(const Table& table) {
    return std::adjacent_find(table.begin(), table.end(),
                              [](const CodeName& left, const CodeName& right) {
                                  return !isBefore(left, right);
                              }) == table.end();
}

static_assert(isStrictlyAscending(kReportAlarms));
static_assert(isStrictlyAscending(kEntityPorts));
static_assert(isStrictlyAscending(kEntityTags));

/// Null for a code that is not in the table.
template <typename Table>
const char* findName(const Table& table, unsigned code) {
    const auto found =
        std::lower_bound(table.begin(), table.end(), CodeName{code, nullptr}, isBefore);
    return found != table.end() && found->code == code ? found->name : nullptr;
}

/// The reading as a positive number, or nothing to convert: the text is returned as it came.
template <typename Formula>
std::string convertPositive(const std::string& raw, Formula&& formula) {
    const int reading = std::stoi(raw);
    return reading <= 0 ? raw : Helper::toStringNumber(formula(static_cast<double>(reading)));
}

}  // namespace

TKReportAlarmId TKHelper::toReportAlarmId(const std::string& text) {
    return static_cast<TKReportAlarmId>(std::stoi(text));
}

TKIDMessage TKHelper::toGeneralReportAlarmId(const std::string& text) {
    return static_cast<TKIDMessage>(std::stoi(text));
}

TKEntityPortId TKHelper::toEntityPortId(const std::string& text) {
    return static_cast<TKEntityPortId>(std::stoi(text));
}

TKEntityTagId TKHelper::toEntityTagId(const std::string& text) {
    return static_cast<TKEntityTagId>(std::stoi(text));
}

std::string TKHelper::getStringReportAlarmId(TKReportAlarmId id) {
    const auto code = static_cast<unsigned>(id);
    if (const char* name = findName(kReportAlarms, code)) {
        return name;
    }
    PONMGR_THROW("TK Report Alarm ID(" + std::to_string(code) + ") not found");
}

std::string TKHelper::getStringReportAlarmId(const std::string& text) {
    return getStringReportAlarmId(toReportAlarmId(text));
}

std::string TKHelper::getStringEntityPortId(TKEntityPortId id) {
    const auto code = static_cast<unsigned>(id);
    if (const char* name = findName(kEntityPorts, code)) {
        return name;
    }
    PONMGR_THROW("TK Entity Port ID(" + std::to_string(code) + ") not found");
}

std::string TKHelper::getStringEntityPortId(const std::string& text) {
    return getStringEntityPortId(toEntityPortId(text));
}

std::string TKHelper::getStringEntityTagId(TKEntityTagId id) {
    const auto code = static_cast<unsigned>(id);
    if (const char* name = findName(kEntityTags, code)) {
        return name;
    }
    PONMGR_THROW("TK Entity Tag ID(" + std::to_string(code) + ") not found");
}

std::string TKHelper::getStringEntityTagId(const std::string& text) {
    return getStringEntityTagId(toEntityTagId(text));
}

std::string TKHelper::getStringGeneralReportAlarmId(TKIDMessage id) {
    if (id == TKIDMessage::OnuLinkMovedBetweenPonPorts) {
        return "ONU Link Moved Between PON Ports";
    }
    return "Alarm ID(" + std::to_string(static_cast<unsigned>(id)) + ")";
}

std::string TKHelper::toCelsius_Temperature(const std::string& raw) {
    return convertPositive(raw, [](double reading) { return reading * 0.00390625; });
}

std::string TKHelper::toVoltage_VCC(const std::string& raw) {
    return convertPositive(raw, [](double reading) { return reading / 10000.0; });
}

std::string TKHelper::toMiliAmps_Current(const std::string& raw) {
    return convertPositive(raw, [](double reading) { return (reading + reading) / 1000.0; });
}

std::string TKHelper::todBm_Power(const std::string& raw) {
    const double reading = std::stoi(raw);
    return Helper::toStringNumber(10.0 * std::log10(reading / 10.0) - 30.0);
}

}  // namespace ponmgr
