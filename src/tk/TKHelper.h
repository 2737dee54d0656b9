#pragma once

#include <cstdint>
#include <string>

#include "tk/TKIDMessage.h"

namespace ponmgr {

/// Codes of the alarms in a Report Alarm event that the daemon itself acts on; the names of all
/// codes stand in TKHelper.cpp.
enum class TKReportAlarmId : unsigned {
    ReportTimeout = 23,
    StandardDyingGasp = 64,
};

/// A port of the OLT chip.
enum class TKEntityPortId : unsigned {};

/// The kind of entity that an alarm or event refers to.
enum class TKEntityTagId : unsigned {
    OnuLink = 3,
    OltPort = 5,
    OltLink = 7,
};

/// The fixed English names of the codes in TK messages, and the engineering units of raw optical
/// readings. Texts in, texts out, as the field readers produce them; free of state, any thread.
class TKHelper {
public:
    // The decimal number at the start of the text. They throw std::invalid_argument without one and
    // std::out_of_range beyond int.
    static TKReportAlarmId toReportAlarmId(const std::string& text);
    static TKIDMessage toGeneralReportAlarmId(const std::string& text);
    static TKEntityPortId toEntityPortId(const std::string& text);
    static TKEntityTagId toEntityTagId(const std::string& text);

    // The code's name. They throw "TK Report Alarm ID(...) not found", "TK Entity Port ID(...) not
    // found" and "TK Entity Tag ID(...) not found", and for a text what its conversion throws.
    static std::string getStringReportAlarmId(TKReportAlarmId id);
    static std::string getStringReportAlarmId(const std::string& text);
    static std::string getStringEntityPortId(TKEntityPortId id);
    static std::string getStringEntityPortId(const std::string& text);
    static std::string getStringEntityTagId(TKEntityTagId id);
    static std::string getStringEntityTagId(const std::string& text);

    /// The name of an event that is no Report Alarm; "Alarm ID(...)" for one without a name.
    static std::string getStringGeneralReportAlarmId(TKIDMessage id);

    // Readings as text with two decimals. A reading of 0 or less is returned as it came, so "0"
    // stays "0"; only power has no such guard: 0 gives minus infinity as printf prints it. They
    // throw what std::stoi throws.

    /// 1/256 degree Celsius. The modules' signed word is read as unsigned, so a module below 0 °C
    /// shows 128 degrees or more.
    static std::string toCelsius_Temperature(const std::string& raw);
    /// 100 microvolt, to volts.
    static std::string toVoltage_VCC(const std::string& raw);
    /// 2 microampere, to milliamperes.
    static std::string toMiliAmps_Current(const std::string& raw);
    /// 0.1 microwatt, to dBm.
    static std::string todBm_Power(const std::string& raw);
};

}  // namespace ponmgr
