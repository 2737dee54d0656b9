#pragma once

#include <array>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dbman/Arguments.h"
#include "dbman/SlotConfiguration.h"

namespace ponmgr::dbman {

/// What was last asked of a slot's card.
enum class Wanted { unset, enabled, disabled };

/// "unset", "enabled", "disabled".
const char* toText(Wanted wanted);

/// The one of this name; `unset` for any other name.
Wanted wantedOf(const std::string& name);

/// A slot as it is configured. The addresses are empty when it has none.
struct Slot {
    int number = 0;
    SlotAddress address;
    Wanted wanted = Wanted::unset;
};

/// The eight slots' addresses and wanted states. Every function may be called on any thread; slots
/// are 1 to 8.
class SlotTable {
public:
    /// Eight slots without address.
    SlotTable();

    /// Takes over slots of a former run; they count as unchanged.
    void load(const std::vector<Slot>& slots);

    /// Gives the slots these addresses; all eight count as changed.
    void configure(const SlotConfiguration& configuration);

    /// All eight, ascending.
    std::vector<Slot> slots() const;

    /// Those that have an address.
    SlotConfiguration configuration() const;

    /// Without a `source` the slot keeps its own; one that has none gets `otherwise`. Returns what
    /// the slot has now.
    SlotAddress setAddress(int slot, const std::string& card,
                           const std::optional<std::string>& source, const std::string& otherwise);

    void clearAddress(int slot);
    void setWanted(int slot, Wanted wanted);

    /// The slots that were changed since the last call.
    std::vector<Slot> takeChanges();

    /// Has these slots count as changed again.
    void markChanged(const std::vector<Slot>& slots);

private:
    /// Needs the mutex.
    Slot& change(int slot);

    mutable std::mutex mutex;
    // Guarded by mutex.
    std::array<Slot, kLastSlot> table;
    std::set<int> changed;
};

}  // namespace ponmgr::dbman
