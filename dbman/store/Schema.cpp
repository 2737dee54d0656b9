#include "dbman/store/Schema.h"

#include <array>

namespace ponmgr::dbman {

namespace {

// "PDBM": what a file of ours says of itself.
constexpr std::int64_t kApplicationId = 0x5044424D;

// Step n leads from schema n to n+1. A step that was shipped stays as it is. Times are milliseconds
// since 1970 in UTC; records are JSON objects as the daemon reported them.
constexpr std::array kSteps = {
    // The current state.
    R"sql(
CREATE TABLE slots (
    slot_id INTEGER PRIMARY KEY CHECK (slot_id BETWEEN 1 AND 8),
    ip_address TEXT NOT NULL,
    source_address TEXT NOT NULL,
    wanted TEXT NOT NULL CHECK (wanted IN ('enabled', 'disabled', 'unset')));
CREATE TABLE cards (
    slot_id INTEGER PRIMARY KEY CHECK (slot_id BETWEEN 1 AND 8),
    state TEXT NOT NULL,
    record TEXT NOT NULL,
    modules TEXT NOT NULL,
    last_report INTEGER);
CREATE TABLE onus (
    mac_address TEXT PRIMARY KEY,
    slot_id INTEGER CHECK (slot_id BETWEEN 1 AND 8),
    state TEXT NOT NULL,
    record TEXT NOT NULL,
    last_report INTEGER NOT NULL) WITHOUT ROWID;
CREATE TABLE alarm_states (
    slot_id INTEGER NOT NULL CHECK (slot_id BETWEEN 1 AND 8),
    resource TEXT NOT NULL,
    alarm TEXT NOT NULL,
    state TEXT NOT NULL CHECK (state IN ('raised', 'cleared')),
    raised INTEGER,
    cleared INTEGER,
    count INTEGER NOT NULL,
    last_change INTEGER NOT NULL,
    PRIMARY KEY (slot_id, resource, alarm)) WITHOUT ROWID;
)sql",
    // What has happened.
    R"sql(
CREATE TABLE optics (
    id INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    mac_address TEXT NOT NULL,
    slot_id INTEGER,
    port TEXT NOT NULL,
    levels TEXT NOT NULL);
CREATE INDEX optics_by_mac_address ON optics (mac_address, time);
CREATE INDEX optics_by_time ON optics (time);
CREATE TABLE alarm_events (
    id INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    slot_id INTEGER NOT NULL,
    resource TEXT NOT NULL,
    alarm TEXT NOT NULL,
    state TEXT NOT NULL CHECK (state IN ('raised', 'cleared')),
    datetime TEXT NOT NULL);
CREATE INDEX alarm_events_by_time ON alarm_events (time);
CREATE TABLE commands (
    id INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    uri TEXT NOT NULL,
    data TEXT NOT NULL,
    result TEXT NOT NULL);
CREATE INDEX commands_by_time ON commands (time);
CREATE TABLE notifications (
    id INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    uri TEXT NOT NULL,
    verdict TEXT NOT NULL,
    bytes INTEGER NOT NULL,
    raw TEXT NOT NULL);
CREATE INDEX notifications_by_time ON notifications (time);
)sql",
    // The lines that were shown.
    R"sql(
CREATE TABLE events (
    id INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    kind TEXT NOT NULL CHECK (kind IN ('notification', 'command', 'alarm', 'warning')),
    text TEXT NOT NULL);
CREATE INDEX events_by_time ON events (time);
)sql",
    // What has happened, by the slots.
    R"sql(
CREATE INDEX optics_by_slot ON optics (slot_id, time);
CREATE INDEX alarm_events_by_slot ON alarm_events (slot_id, time);
)sql",
};

std::int64_t checkedVersion(Database& database, const std::string& file) {
    std::int64_t version = 0;
    bool ours = false;
    try {
        version = database.numberOf("PRAGMA user_version");
        const bool empty = database.numberOf("SELECT count(*) FROM sqlite_master") == 0;
        ours =
            (version == 0 && empty) || database.numberOf("PRAGMA application_id") == kApplicationId;
    } catch (const StoreError& error) {
        throw Failure("can't use the database " + file + ": " + error.what());
    }
    if (!ours) {
        throw Failure("can't use the database " + file + ": it is another program's");
    }
    if (version > newestSchema()) {
        throw Failure("can't use the database " + file + ": its schema " + std::to_string(version) +
                      " is newer than ours, which is " + std::to_string(newestSchema()));
    }
    return version;
}

}  // namespace

int newestSchema() {
    return static_cast<int>(kSteps.size());
}

void migrate(Database& database, const std::string& file, int version) {
    const auto present = checkedVersion(database, file);
    try {
        for (auto step = static_cast<std::size_t>(present);
             step < static_cast<std::size_t>(version); ++step) {
            Transaction transaction(database);
            database.run(kSteps.at(step));
            database.run("PRAGMA application_id = " + std::to_string(kApplicationId));
            database.run("PRAGMA user_version = " + std::to_string(step + 1));
            transaction.commit();
        }
    } catch (const StoreError& error) {
        throw Failure("can't bring the database " + file + " up to schema " +
                      std::to_string(version) + ": " + error.what());
    }
}

}  // namespace ponmgr::dbman
