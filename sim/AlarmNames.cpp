#include "sim/AlarmNames.h"

#include <algorithm>
#include <functional>

#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

struct AlarmName {
    std::uint8_t code;
    const char* name;
};

constexpr AlarmName kAlarms[] = {
    {0x10, "Standard Link Fault"},
    {0x11, "Loss of Signal"},
    {0x12, "Transmit Fail"},
    {0x13, "Transmit Degrade"},
    {0x15, "MAC Learning Overflow"},
    {kReportTimeout, "Report Timeout"},
    {0x19, "OAM Keepalive Timeout"},
    {0x1A, "Key Exchange Failure"},
    {0x1B, "Auto Negotiation Failure"},
    {0x1C, "External Link Fault"},
    {0x1D, "ONU Burst Cap"},
    {0x1E, "CTC Key Exchange Failure 3 Times"},
    {0x20, "Loopback"},
    {0x21, "Port Disabled"},
    {kStandardDyingGasp, "Standard Dying Gasp"},
    {0x41, "Power Fail"},
    {0x42, "External Dying Gasp"},
    {0x60, "Standard Critical Event"},
    {0x62, "External Critical Event"},
    {0x80, "Standard Other Event"},
    {0x81, "Temperature"},
    {0x82, "External Alarm Gpio"},
    {0x87, "Num Links"},
    {0x89, "Mixed Network Error"},
    {0x8A, "Layer3 IP MAC Table Overflow"},
    {0x8C, "Dhcp Arp Dos"},
    {0x99, "Fpga Programming Error"},
    {0x9A, "IGMP Out Of Internal Resources"},
    {0x9B, "Pppoe Table Overflow"},
    {0x9E, "IPv6 Table Overflow"},
    {0xA1, "Improper Report Format"},
    {0xA2, "ONU Flash Busy"},
    {0xA3, "No Reports On EPON Port"},
    {0xA4, "Loop Detected"},
    {0xA5, "Optical Power Low"},
    {0xA6, "EPON Standby LOS"},
    {0xA7, "Critical Resource Unavailable"},
    {0xA8, "Link Activation Failure"},
    {0xA9, "Link Over Grant"},
    {0xAA, "Stack Overflow"},
    {0xAB, "Power Saving ONU Sleep"},
    {0xAC, "ECC Uncorrectable Error"},
};
static_assert(std::ranges::is_sorted(kAlarms, std::less_equal{}, &AlarmName::code),
              "codes must ascend, each once");

}  // namespace

std::uint8_t parseAlarm(const std::string& option, const std::string& text) {
    const auto* const found = std::ranges::find_if(kAlarms, [&](const AlarmName& alarm) {
        return text == alarm.name || text == std::to_string(alarm.code);
    });
    if (found == std::end(kAlarms)) {
        throw UsageError(option + ": '" + text + "' can't be used; allowed: a code or one of " +
                         namesIn(kAlarms));
    }
    return found->code;
}

std::string_view nameOfAlarm(std::uint8_t code) {
    const auto* const found = std::ranges::find(kAlarms, code, &AlarmName::code);
    return found == std::end(kAlarms) ? "unknown" : found->name;
}

}  // namespace ponmgr::sim
