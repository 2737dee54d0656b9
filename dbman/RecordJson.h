#pragma once

#include <vector>

#include "dbman/AlarmStates.h"
#include "dbman/Event.h"
#include "dbman/Json.h"
#include "dbman/Records.h"
#include "dbman/SlotTable.h"
#include "dbman/store/HistoryRows.h"
#include "dbman/store/Store.h"

namespace ponmgr::dbman {

/// The daemon's keys, and "ip_address", "source_address", "state", "last_report" of our own. All
/// values are text, every key is always there; what isn't known is the empty text. Only
/// "reported_since_start" is true or false.
OrderedJson toJson(const Card& card);

/// The whole record, and "state", "last_report" and "reported_since_start" of our own.
OrderedJson toJson(const Onu& onu);

/// {"cards":[...]}
OrderedJson toJson(const std::vector<Card>& cards);

/// {"onus":[...]}
OrderedJson toJson(const std::vector<Onu>& onus);

/// {"slots":[{"slot_id","ip_address","source_address","wanted"}]}
OrderedJson toJson(const std::vector<Slot>& slots);

/// {"alarms":[{"slot_id","resource","alarm","state","raised","cleared","count","last_change"}]};
/// the count is a number.
OrderedJson toJson(const std::vector<AlarmState>& states);

/// {"events":[{"id","time","slot_id","resource","alarm","state","datetime"}]}; the id is a number.
OrderedJson toJson(const std::vector<AlarmEvent>& events);

/// "time", "port" and the levels by the daemon's keys.
OrderedJson toJson(const OpticsSample& sample);

/// {"events":[{"id","time","kind","text"}]}; the id is a number.
OrderedJson toJson(const std::vector<Event>& events);

/// {"file","size_bytes","schema","last_commit","waiting_writes","lost_writes","error"}; sizes and
/// counts are numbers.
OrderedJson toJson(const StoreStatus& status);

}  // namespace ponmgr::dbman
