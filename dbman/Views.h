#pragma once

#include <string>

#include "dbman/JsonForward.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

// Answers of a running dbman, made into text for people that fits the screen. What an answer lacks
// is shown as "-".

/// {"slots":[...]} as a table.
std::string viewSlots(const Json& answer, const Screen& screen = {});

/// {"cards":[...]} as a table.
std::string viewCards(const Json& answer, const Screen& screen = {});

/// {"onus":[...]} as a table.
std::string viewOnus(const Json& answer, const Screen& screen = {});

/// {"onu":{...},"alarms":[...],"optics":{...}}: one line a value, then the alarms as a table.
std::string viewOnu(const Json& answer, const Screen& screen = {});

/// {"alarms":[...]} as a table.
std::string viewAlarms(const Json& answer, const Screen& screen = {});

/// {"events":[...]} of alarms that came and went, as a table.
std::string viewAlarmHistory(const Json& answer, const Screen& screen = {});

/// {"events":[...]} of everything, one line each.
std::string viewEvents(const Json& answer, const Screen& screen = {});

/// The counters and what is said of the database, one a line.
std::string viewStatus(const Json& answer, const Screen& screen = {});

/// {"sent":[...]}, one line a message, and the "note" where there is one.
std::string viewSent(const OrderedJson& answer);

}  // namespace ponmgr::dbman
