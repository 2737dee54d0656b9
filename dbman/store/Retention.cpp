#include "dbman/store/Retention.h"

#include <algorithm>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/Text.h"
#include "dbman/store/StoredTime.h"

namespace ponmgr::dbman {

namespace {

constexpr std::array<std::string_view, kAgingTables> kNames = {
    "optics", "alarm-events", "notifications", "commands", "alarms"};

constexpr std::size_t kShownBytes = 60;

struct Pruning {
    AgingTable table;
    const char* sql;
};

// ?1: the time before which rows are too old, ?2: how many rows at most.
constexpr std::array kPrunings = {
    Pruning{AgingTable::optics,
            "DELETE FROM optics WHERE id IN (SELECT id FROM optics WHERE time < ?1 LIMIT ?2)"},
    Pruning{AgingTable::alarmEvents,
            "DELETE FROM alarm_events WHERE id IN "
            "(SELECT id FROM alarm_events WHERE time < ?1 LIMIT ?2)"},
    Pruning{AgingTable::notifications,
            "DELETE FROM notifications WHERE id IN "
            "(SELECT id FROM notifications WHERE time < ?1 LIMIT ?2)"},
    Pruning{AgingTable::notifications,
            "DELETE FROM events WHERE id IN (SELECT id FROM events WHERE time < ?1 LIMIT ?2)"},
    Pruning{AgingTable::commands,
            "DELETE FROM commands WHERE id IN (SELECT id FROM commands WHERE time < ?1 LIMIT ?2)"},
};

}  // namespace

void Retention::set(const std::string& text) {
    const auto separator = text.find('=');
    const auto name = std::string_view(text).substr(0, separator);
    const auto table = std::find(kNames.begin(), kNames.end(), name);
    if (table == kNames.end() || separator == std::string::npos) {
        throw ArgumentError("retention \"" + printable(text, kShownBytes) +
                            "\" is not allowed: TABLE=AGE, such as optics=30d; a table is one of " +
                            tableNames());
    }
    ages.at(static_cast<std::size_t>(table - kNames.begin())) =
        parseDuration(std::string_view(text).substr(separator + 1));
}

std::string Retention::tableNames() {
    std::string names;
    for (const auto name : kNames) {
        names.append(names.empty() ? "" : ", ").append(name);
    }
    return names;
}

std::size_t pruneSome(Database& database, const Retention& retention, Time now) {
    for (const auto& pruning : kPrunings) {
        Statement statement(database, pruning.sql);
        statement.run(toStored(now - retention.of(pruning.table)),
                      static_cast<std::int64_t>(kPruneBatch));
        if (database.changedRows() > 0) {
            return database.changedRows();
        }
    }
    return 0;
}

}  // namespace ponmgr::dbman
