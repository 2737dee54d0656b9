#pragma once

#include <span>
#include <string>

#include "dbman/Json.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

/// A column of a table, and the member that it shows.
struct Column {
    const char* header;
    const char* key;
    /// See Table::Column.
    int rank = 0;
    /// "1" is shown as "yes" and "0" as "no".
    bool isBoolean = false;
    /// The time of the last report; one of a former run of dbman is marked.
    bool isReportTime = false;
};

/// The member `key` as text; numbers and booleans as JSON prints them; empty when there is none.
std::string textOf(const Json& item, const char* key);

/// The member `key`, or an empty one when there is no such array or object.
Json arrayOf(const Json& item, const char* key);
Json objectOf(const Json& item, const char* key);

/// Whether the card or ONU was last reported to a former run of dbman.
bool isFromBeforeRestart(const Json& item);

/// What marks such a one.
constexpr auto kBeforeRestart = " (before restart)";

/// The member that the column shows.
std::string cellOf(const Json& item, const Column& column);

/// The items of the array `list` as a table; what is no array has no items.
std::string viewList(const Json& list, std::span<const Column> columns, const Screen& screen);

}  // namespace ponmgr::dbman
