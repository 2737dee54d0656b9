#pragma once

#include "dbman/AlarmStates.h"
#include "dbman/Inventory.h"
#include "dbman/SlotTable.h"

namespace ponmgr::dbman {

/// What of the current state was changed.
struct StateChanges {
    std::vector<Slot> slots;
    InventoryChanges inventory;
    AlarmChanges alarms;

    bool isEmpty() const {
        return slots.empty() && inventory.cards.empty() && inventory.onus.empty() &&
               inventory.removedOnus.empty() && alarms.states.empty() && alarms.removed.empty();
    }
};

/// How things are now. Memory rules; the database follows. Each member synchronises itself.
struct CurrentState {
    SlotTable slots;
    Inventory inventory{SlotConfiguration{}};
    AlarmStates alarms;

    /// What was changed since the last call.
    StateChanges takeChanges() {
        return {slots.takeChanges(), inventory.takeChanges(), alarms.takeChanges()};
    }

    /// Has these count as changed again.
    void markChanged(const StateChanges& changes) {
        slots.markChanged(changes.slots);
        inventory.markChanged(changes.inventory);
        alarms.markChanged(changes.alarms);
    }
};

}  // namespace ponmgr::dbman
