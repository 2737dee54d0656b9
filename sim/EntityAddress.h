#pragma once

#include <optional>
#include <string>

#include "sim/EventFrames.h"
#include "sim/Onu.h"

namespace ponmgr::sim {

/// How a person names an ONU, a port or an alarm's subject. All of these throw UsageError that says
/// what is allowed; `option` is the value's name for its text.

/// "3/0/7": slot, PON port and index, as the ONU was installed.
OnuAddress parseOnuAddress(const std::string& option, const std::string& text);

/// Which ONUs to list: all of a slot, or of one of its ports.
struct OnuSelection {
    int slot = 0;
    std::optional<std::uint8_t> port;
};

/// "3" or "3/0".
OnuSelection parseOnuSelection(const std::string& option, const std::string& text);

/// A PON port of a card.
struct PonPort {
    int slot = 0;
    std::uint8_t port = 0;
};

/// "5/1".
PonPort parsePonPortOfSlot(const std::string& option, const std::string& text);

/// 0 or 1.
std::uint8_t parsePonPort(const std::string& option, const std::string& text);

/// What an alarm is raised at: "3/0/7" an ONU's link, "3/0/7/olt" the card's end of it, "3/0",
/// "3/epon-0" or "3/nni-1" a port of the card.
struct AlarmSubject {
    EntityTag tag = EntityTag::onuLink;
    int slot = 0;
    /// Of a link.
    OnuAddress onu;
    /// Of oltPort: PON ports 0 and 1, network ports 2 and 3.
    std::uint16_t port = 0;
};

AlarmSubject parseAlarmSubject(const std::string& option, const std::string& text);

}  // namespace ponmgr::sim
