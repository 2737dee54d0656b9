#pragma once

#include <cstdint>
#include <string>

#include "dbman/Records.h"

namespace ponmgr::dbman {

/// What a line that was shown is about.
enum class EventKind { notification, command, alarm, warning };

/// "notification", "command", "alarm", "warning".
const char* toText(EventKind kind);

/// The kind of this name; `warning` for any other name.
EventKind eventKindOf(const std::string& name);

/// A line that was shown.
struct Event {
    /// Ascends, also from one run of dbman to the next; some numbers are left out.
    std::int64_t id = 0;
    Time time;
    EventKind kind = EventKind::notification;
    /// The line without the time at its beginning.
    std::string text;
};

}  // namespace ponmgr::dbman
