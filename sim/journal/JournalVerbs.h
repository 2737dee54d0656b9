#pragma once

#include "sim/Chassis.h"
#include "sim/ControlJson.h"
#include "sim/journal/Journal.h"

namespace ponmgr::sim {

inline constexpr std::uint32_t kUsualJournalEntries = 100;
/// The most in one reply, so that no reply keeps the cards waiting; a client asks for the rest.
inline constexpr std::size_t kJournalPage = 500;
/// A reply ends with the entry whose hex digits reach this sum.
inline constexpr std::size_t kJournalPageDigits = std::size_t{256} * 1024;

/// The control request for the journal; returns its reply and throws ControlError when it can't be
/// carried out.
Json readJournal(const Journal& journal, Chassis& chassis, const Json& request);

}  // namespace ponmgr::sim
