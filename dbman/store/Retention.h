#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "dbman/Records.h"
#include "dbman/store/Database.h"

namespace ponmgr::dbman {

/// The tables whose rows grow old. `alarms` are cleared alarm states.
enum class AgingTable { optics, alarmEvents, notifications, commands, alarms };
constexpr std::size_t kAgingTables = 5;

/// How long rows are kept.
class Retention {
public:
    std::chrono::seconds of(AgingTable table) const {
        return ages[static_cast<std::size_t>(table)];
    }

    /// Takes over "TABLE=AGE", such as "optics=30d"; an age is one of parseDuration(). Throws
    /// ArgumentError, saying what is allowed.
    void set(const std::string& text);

    /// "optics, alarm-events, ...": the tables' names.
    static std::string tableNames();

private:
    static constexpr std::chrono::days kMonth{30};
    static constexpr std::chrono::days kQuarter{90};
    static constexpr std::chrono::days kWeek{7};

    /// By the number of the table.
    std::array<std::chrono::seconds, kAgingTables> ages{kMonth, kQuarter, kWeek, kQuarter,
                                                        kQuarter};
};

/// Rows that a step of pruning deletes at most, so that it is short.
constexpr std::size_t kPruneBatch = 500;

/// Deletes rows of one table that are older at `now` than `retention` allows, kPruneBatch at most;
/// alarm states aside, which memory rules. What was shown ages like the notifications. Returns how
/// many. Throws StoreError.
std::size_t pruneSome(Database& database, const Retention& retention, Time now);

}  // namespace ponmgr::dbman
