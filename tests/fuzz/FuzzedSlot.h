#pragma once

#include <cstddef>

#include "Script.h"
#include "TalkingCard.h"
#include "poncard/PONCardTask.h"

namespace ponmgr {
class APIData;
}

namespace ponmgr::fuzz {

/// Slot 3 without its threads, before a card that says what a script holds. Where the script has
/// ended nothing is asked by itself any more. Whatever the card says, each report that the slot
/// makes is required to be one, and is taken away.
class FuzzedSlot {
public:
    explicit FuzzedSlot(Script& says);

    /// Identifies the card and reads its markers.
    void bringUp();
    bool isIdentified() { return helper().hasOltMacAddress(); }
    /// Carries out a command that was routed to a slot.
    void carryOut(const APIData& message);
    /// Takes the card's events, and reads its links, levels, rules and paths. Returns how many ONUs
    /// it has reported behind their provisioning.
    std::size_t pass();
    /// Requires that the slot can still report itself.
    void requireReports();

private:
    /// Provisions the ONUs; returns how many it has reported.
    std::size_t provision();
    PONCardHelper& helper() { return slot.getHelper(); }

    Script& script;
    TalkingCard card;
    PONCardTask slot;
};

}  // namespace ponmgr::fuzz
