#pragma once

#include <string>

#include "sim/ControlJson.h"
#include "sim/journal/JournalEntry.h"

namespace ponmgr::sim {

/// An entry as the control socket and the journal file show it. What the datagram is too short for
/// is null, and so are the card's bytes when no fault has changed them.
Json journalRow(const JournalEntry& entry);

/// "2026-02-28T07:15:00.000000001Z".
std::string wallText(WallTime time);

/// "in" to the card, "out" from it.
const char* directionText(Direction direction);

}  // namespace ponmgr::sim
