#pragma once

#include "sim/Chassis.h"
#include "sim/ControlJson.h"
#include "sim/journal/Journal.h"

namespace ponmgr::sim {

inline constexpr std::uint32_t kUsualJournalEntries = 100;

/// The control request for the journal; returns its reply and throws ControlError when it can't be
/// carried out.
Json readJournal(const Journal& journal, Chassis& chassis, const Json& request);

}  // namespace ponmgr::sim
