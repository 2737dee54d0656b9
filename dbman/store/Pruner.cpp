#include "dbman/store/Pruner.h"

#include <array>

#include "dbman/store/StoredTime.h"

namespace ponmgr::dbman {

namespace {

constexpr int kSlots = 8;

struct History {
    AgingTable table;
    const char* name;
    bool hasSlots;
};

constexpr std::array kHistories = {
    History{AgingTable::optics, "optics", true},
    History{AgingTable::alarmEvents, "alarm_events", true},
    History{AgingTable::notifications, "notifications", false},
    History{AgingTable::notifications, "events", false},
    History{AgingTable::commands, "commands", false},
};

// ?1: the time before which rows are too old, ?2: how many of them at most.
std::string deletionOfOld(const std::string& table) {
    return "DELETE FROM " + table + " WHERE id IN (SELECT id FROM " + table +
           " WHERE time < ?1 LIMIT ?2)";
}

// ?1: how many rows are kept, ?2: how many go at most, ?3: of which slot.
std::string deletionOfSurplus(const std::string& table, bool hasSlots) {
    const std::string which = table + (hasSlots ? " WHERE slot_id IS ?3" : "");
    return "DELETE FROM " + table + " WHERE id IN (SELECT id FROM " + which +
           " ORDER BY time, id LIMIT max(0, min(?2, (SELECT count(*) FROM " + which + ") - ?1)))";
}

}  // namespace

Pruner::Pruner(Database& pruned, const Retention& keptRows)
    : database(pruned), retention(keptRows), steps(allSteps()) {}

std::vector<Pruner::Step> Pruner::allSteps() {
    std::vector<Step> result;
    result.reserve(kHistories.size() * (2 + kSlots));
    for (const auto& history : kHistories) {
        result.push_back({history.table, deletionOfOld(history.name), false, {}});
    }
    for (const auto& history : kHistories) {
        const auto sql = deletionOfSurplus(history.name, history.hasSlots);
        result.push_back({history.table, sql, true, {}});
        for (int slot = 1; history.hasSlots && slot <= kSlots; slot++) {
            result.push_back({history.table, sql, true, slot});
        }
    }
    return result;
}

bool Pruner::step(Time now) {
    const auto& taken = steps.at(next);
    next = (next + 1) % steps.size();
    if (take(taken, now) > 0) {
        // There may be more of the same.
        next = static_cast<std::size_t>(&taken - steps.data());
        return true;
    }
    return next != 0;
}

std::size_t Pruner::take(const Step& step, Time now) {
    constexpr auto kBatch = static_cast<std::int64_t>(kPruneBatch);
    Statement statement(database, step.sql.c_str());
    if (step.isOfNumber && step.slot) {
        statement.run(retention.rowsOf(step.table), kBatch, std::int64_t{*step.slot});
    } else if (step.isOfNumber) {
        statement.run(retention.rowsOf(step.table), kBatch);
    } else {
        statement.run(toStored(now - retention.ageOf(step.table)), kBatch);
    }
    return database.changedRows();
}

}  // namespace ponmgr::dbman
