#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dbman/Records.h"
#include "dbman/store/Database.h"
#include "dbman/store/Retention.h"

namespace ponmgr::dbman {

/// Rows that a step of pruning deletes at most, so that it is short.
constexpr std::size_t kPruneBatch = 500;

/// Deletes the rows of what has happened that a Retention doesn't keep, in rounds of short steps:
/// each looks at one table, or at what a table has of one slot, for what is too old or too much.
/// What was shown is kept like the notifications. To be used by one thread at a time.
class Pruner {
public:
    /// `pruned` outlives it.
    Pruner(Database& pruned, const Retention& retention);

    /// Takes a step; `now` tells what is too old. True: the round isn't over, more steps are due.
    /// Throws StoreError; the next step is another one then.
    bool step(Time now);

private:
    struct Step {
        AgingTable table;
        std::string sql;
        /// What is deleted is too much rather than too old.
        bool isOfNumber = false;
        /// Whose rows; without a value those of no slot, in a table that has slots.
        std::optional<int> slot;
    };

    static std::vector<Step> allSteps();
    std::size_t take(const Step& step, Time now);

    Database& database;
    // Constant after construction.
    const Retention retention;
    const std::vector<Step> steps;
    std::size_t next = 0;
};

}  // namespace ponmgr::dbman
