#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ponmgr::sim {

/// The ids that code refers to by name; the table of all requests stands in CardRequests.cpp.
namespace id {

inline constexpr std::uint16_t kOnuPortVlan = 273;
inline constexpr std::uint16_t kSetEthernetPort = 299;
inline constexpr std::uint16_t kSetQueueSla = 384;
inline constexpr std::uint16_t kEnableLink = 385;
inline constexpr std::uint16_t kSetLinkSla = 397;
inline constexpr std::uint16_t kOltReady = 0x8000;
inline constexpr std::uint16_t kLinkDiscovery = 0x8019;
inline constexpr std::uint16_t kReportAlarm = 0x801A;
inline constexpr std::uint16_t kOnuLinkMoved = 0x802B;

}  // namespace id

/// English name of a request or event; "unknown" for an id that a card doesn't know.
std::string_view nameOfMessage(std::uint16_t id);

/// The id of a request or event, given by its name, in any case, or by a number in decimal or
/// behind 0x. Throws UsageError that lists the names; `option` is the value's name for its text.
std::uint16_t parseMessageId(const std::string& option, const std::string& text);

}  // namespace ponmgr::sim
