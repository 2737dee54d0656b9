#pragma once

#include <vector>

#include "dbman/CurrentState.h"
#include "dbman/Event.h"
#include "dbman/store/Database.h"

namespace ponmgr::dbman {

/// What a former run has left.
struct StoredState {
    /// All eight; none in a database that has just been made.
    std::vector<Slot> slots;
    std::vector<Card> cards;
    std::vector<Onu> onus;
    std::vector<AlarmState> alarms;
    /// The latest lines that were shown, oldest first.
    std::vector<Event> events;
};

/// Reads it; `events` at most. Throws StoreError.
StoredState readStoredState(Database& database, std::size_t events);

}  // namespace ponmgr::dbman
