#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ponmgr::sim {

/// Codes of the alarms that cards raise by themselves.
inline constexpr std::uint8_t kReportTimeout = 23;
inline constexpr std::uint8_t kStandardDyingGasp = 64;

/// What may be said of an alarm, on the command line and to the control socket.
struct AlarmState {
    const char* name;
    bool raised;
};

inline constexpr AlarmState kAlarmStates[] = {{"raise", true}, {"clear", false}};

/// The code of an alarm, given by its name or its code in decimal. Throws UsageError that lists the
/// names.
std::uint8_t parseAlarm(const std::string& option, const std::string& text);

/// "unknown" for a code that has no name.
std::string_view nameOfAlarm(std::uint8_t code);

}  // namespace ponmgr::sim
