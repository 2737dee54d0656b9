#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dbman/store/Database.h"
#include "dbman/store/HistoryRows.h"

namespace ponmgr::dbman {

/// Reads what has happened, over a connection of its own. To be used by one thread at a time. All
/// functions return the latest `limit` rows since `since`, oldest first, and throw StoreError.
class HistoryReader {
public:
    /// `file` has the newest schema. Throws StoreError.
    explicit HistoryReader(const std::string& file);

    /// All slots or one.
    std::vector<AlarmEvent> alarmEvents(std::optional<int> slot, Time since, std::size_t limit);

    /// Of the ONU or the card of this MAC address.
    std::vector<OpticsSample> optics(const std::string& macAddress, Time since, std::size_t limit);

private:
    Database database;
    Statement selectAlarmEvents;
    Statement selectOptics;
};

}  // namespace ponmgr::dbman
