#pragma once

#include <string>

#include "dbman/Json.h"

namespace ponmgr::dbman {

// Answers of a running dbman, made into text for people. What an answer lacks is shown as "-".

/// {"cards":[...]} as a table.
std::string viewCards(const Json& answer);

/// {"onus":[...]} as a table.
std::string viewOnus(const Json& answer);

/// The counters, one a line.
std::string viewStatus(const Json& answer);

/// {"sent":[...]}, one line a message.
std::string viewSent(const Json& answer);

}  // namespace ponmgr::dbman
