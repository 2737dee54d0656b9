#pragma once

#include <string>

#include "sim/journal/JournalEntry.h"

namespace ponmgr::sim {

/// One line, without its end, on a datagram that has passed a card: slot, direction, peer, what it
/// is, and the faults that have hit it.
std::string describeDatagram(const JournalEntry& entry);

}  // namespace ponmgr::sim
