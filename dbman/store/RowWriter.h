#pragma once

#include <vector>

#include "dbman/CurrentState.h"
#include "dbman/store/Database.h"
#include "dbman/store/HistoryRows.h"

namespace ponmgr::dbman {

/// Writes rows through statements that are prepared once. To be used by one thread at a time.
class RowWriter {
public:
    /// `database` outlives the object and has the newest schema. Throws StoreError.
    explicit RowWriter(Database& database);

    /// Writes all in one transaction. Throws StoreError; nothing is written then.
    void write(const StateChanges& changes, const std::vector<HistoryRow>& rows);

private:
    void write(const Slot& slot);
    void write(const Card& card);
    void write(const Onu& onu);
    void write(const AlarmState& state);
    void write(const AlarmEvent& row);
    void write(const OpticsSample& row);
    void write(const CommandRow& row);
    void write(const NotificationRow& row);
    void write(const Event& row);
    void writeState(const StateChanges& changes);

    Database& database;
    Statement putSlot;
    Statement putCard;
    Statement putOnu;
    Statement removeOnu;
    Statement removeAllOnus;
    Statement putAlarm;
    Statement removeAlarm;
    Statement removeAllAlarms;
    Statement addAlarmEvent;
    Statement addOptics;
    Statement addCommand;
    Statement addNotification;
    Statement addEvent;
};

}  // namespace ponmgr::dbman
