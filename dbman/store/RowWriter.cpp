#include "dbman/store/RowWriter.h"

#include "dbman/store/RecordText.h"
#include "dbman/store/StoredTime.h"

namespace ponmgr::dbman {

namespace {

constexpr auto kPutSlot =
    "INSERT OR REPLACE INTO slots (slot_id, ip_address, source_address, wanted) "
    "VALUES (?1, ?2, ?3, ?4)";
constexpr auto kPutCard =
    "INSERT OR REPLACE INTO cards (slot_id, state, record, modules, last_report) "
    "VALUES (?1, ?2, ?3, ?4, ?5)";
constexpr auto kPutOnu =
    "INSERT OR REPLACE INTO onus (mac_address, slot_id, state, record, last_report) "
    "VALUES (?1, ?2, ?3, ?4, ?5)";
constexpr auto kRemoveOnu = "DELETE FROM onus WHERE mac_address = ?1";
constexpr auto kRemoveAllOnus = "DELETE FROM onus";
constexpr auto kPutAlarm =
    "INSERT OR REPLACE INTO alarm_states "
    "(slot_id, resource, alarm, state, raised, cleared, count, last_change) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)";
constexpr auto kRemoveAlarm =
    "DELETE FROM alarm_states WHERE slot_id = ?1 AND resource = ?2 AND alarm = ?3";
constexpr auto kRemoveAllAlarms = "DELETE FROM alarm_states";
constexpr auto kAddAlarmEvent =
    "INSERT INTO alarm_events (time, slot_id, resource, alarm, state, datetime) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6)";
constexpr auto kAddOptics =
    "INSERT INTO optics (time, mac_address, slot_id, port, levels) VALUES (?1, ?2, ?3, ?4, ?5)";
constexpr auto kAddCommand =
    "INSERT INTO commands (time, uri, data, result) VALUES (?1, ?2, ?3, ?4)";
constexpr auto kAddNotification =
    "INSERT INTO notifications (time, uri, verdict, bytes, raw) VALUES (?1, ?2, ?3, ?4, ?5)";
constexpr auto kAddEvent =
    "INSERT OR REPLACE INTO events (id, time, kind, text) VALUES (?1, ?2, ?3, ?4)";

std::optional<std::int64_t> numberOf(const std::optional<int>& slot) {
    return slot ? std::optional<std::int64_t>(*slot) : std::nullopt;
}

}  // namespace

RowWriter::RowWriter(Database& written)
    : database(written),
      putSlot(written, kPutSlot),
      putCard(written, kPutCard),
      putOnu(written, kPutOnu),
      removeOnu(written, kRemoveOnu),
      removeAllOnus(written, kRemoveAllOnus),
      putAlarm(written, kPutAlarm),
      removeAlarm(written, kRemoveAlarm),
      removeAllAlarms(written, kRemoveAllAlarms),
      addAlarmEvent(written, kAddAlarmEvent),
      addOptics(written, kAddOptics),
      addCommand(written, kAddCommand),
      addNotification(written, kAddNotification),
      addEvent(written, kAddEvent) {}

void RowWriter::write(const StateChanges& changes, const std::vector<HistoryRow>& rows) {
    Transaction transaction(database);
    writeState(changes);
    for (const auto& row : rows) {
        std::visit([this](const auto& kind) { write(kind); }, row);
    }
    transaction.commit();
}

void RowWriter::writeState(const StateChanges& changes) {
    for (const auto& slot : changes.slots) {
        write(slot);
    }
    for (const auto& card : changes.inventory.cards) {
        write(card);
    }
    if (changes.inventory.allOnus) {
        removeAllOnus.run();
    }
    for (const auto& macAddress : changes.inventory.removedOnus) {
        removeOnu.run(macAddress);
    }
    for (const auto& onu : changes.inventory.onus) {
        write(onu);
    }
    if (changes.alarms.all) {
        removeAllAlarms.run();
    }
    for (const auto& key : changes.alarms.removed) {
        removeAlarm.run(std::int64_t{key.slot}, key.resource, key.alarm);
    }
    for (const auto& state : changes.alarms.states) {
        write(state);
    }
}

void RowWriter::write(const Slot& slot) {
    putSlot.run(std::int64_t{slot.number}, slot.address.card, slot.address.source,
                std::string_view(toText(slot.wanted)));
}

void RowWriter::write(const Card& card) {
    putCard.run(std::int64_t{card.slot}, std::string_view(toText(card.state)),
                printRecord(card.record), printRecords(card.moduleOltTable),
                toStored(card.lastReport));
}

void RowWriter::write(const Onu& onu) {
    putOnu.run(onu.macAddress, numberOf(onu.slot), std::string_view(toText(onu.state)),
               printRecord(onu.record), toStored(onu.lastReport));
}

void RowWriter::write(const AlarmState& state) {
    putAlarm.run(std::int64_t{state.key.slot}, state.key.resource, state.key.alarm,
                 std::string_view(alarmStateText(state.isRaised)), toStored(state.raised),
                 toStored(state.cleared), state.count, toStored(state.lastChange));
}

void RowWriter::write(const AlarmEvent& row) {
    addAlarmEvent.run(toStored(row.time), std::int64_t{row.key.slot}, row.key.resource,
                      row.key.alarm, std::string_view(alarmStateText(row.isRaised)), row.datetime);
}

void RowWriter::write(const OpticsSample& row) {
    addOptics.run(toStored(row.time), row.macAddress, numberOf(row.slot), row.port,
                  printRecord(row.levels));
}

void RowWriter::write(const CommandRow& row) {
    addCommand.run(toStored(row.time), row.uri, row.data, row.result);
}

void RowWriter::write(const NotificationRow& row) {
    addNotification.run(toStored(row.time), row.uri, row.verdict,
                        static_cast<std::int64_t>(row.bytes), row.raw);
}

void RowWriter::write(const Event& row) {
    addEvent.run(row.id, toStored(row.time), std::string_view(toText(row.kind)), row.text);
}

}  // namespace ponmgr::dbman
