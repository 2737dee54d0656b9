#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace ponmgr::dbman {

/// The tables whose rows grow old. `alarms` are cleared alarm states.
enum class AgingTable { optics, alarmEvents, notifications, commands, alarms };
constexpr std::size_t kAgingTables = 5;

/// How long rows are kept, and how many of them.
class Retention {
public:
    std::chrono::seconds ageOf(AgingTable table) const { return of(table).age; }

    /// The most rows that are kept: of each slot in the tables whose rows are of slots, so that no
    /// card can push out what is kept of another one. `alarms` have none: memory bounds them.
    std::int64_t rowsOf(AgingTable table) const { return of(table).rows; }

    /// Takes over "TABLE=AGE" or "TABLE=AGE,ROWS", such as "optics=30d,500000"; an age is one of
    /// parseDuration(), rows are those of parseRows(). Throws ArgumentError, saying what is
    /// allowed.
    void set(const std::string& text);

    /// "optics, alarm-events, ...": the tables' names.
    static std::string tableNames();

private:
    struct Kept {
        std::chrono::seconds age;
        std::int64_t rows;
    };

    const Kept& of(AgingTable table) const { return kept[static_cast<std::size_t>(table)]; }

    static constexpr std::chrono::days kMonth{30};
    static constexpr std::chrono::days kQuarter{90};
    static constexpr std::chrono::days kWeek{7};

    /// By the number of the table.
    std::array<Kept, kAgingTables> kept{{{kMonth, 1'000'000},
                                         {kQuarter, 100'000},
                                         {kWeek, 1'000'000},
                                         {kQuarter, 100'000},
                                         {kQuarter, 0}}};
};

}  // namespace ponmgr::dbman
