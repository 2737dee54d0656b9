#include "dbman/store/StoredState.h"

#include <algorithm>

#include "dbman/store/RecordText.h"
#include "dbman/store/StoredTime.h"

namespace ponmgr::dbman {

namespace {

constexpr auto kSlots = "SELECT slot_id, ip_address, source_address, wanted FROM slots";
constexpr auto kCards = "SELECT slot_id, state, record, modules, last_report FROM cards";
constexpr auto kOnus = "SELECT mac_address, slot_id, state, record, last_report FROM onus";
constexpr auto kAlarms =
    "SELECT slot_id, resource, alarm, state, raised, cleared, count, last_change FROM alarm_states";
constexpr auto kEvents = "SELECT id, time, kind, text FROM events ORDER BY id DESC LIMIT ?1";

std::optional<Time> timeOf(const Statement& row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(fromStored(row.number(column)));
}

int slotNumber(const Statement& row, int column) {
    return static_cast<int>(row.number(column));
}

State stateOf(const std::string& name) {
    for (const auto state : {State::online, State::offline}) {
        if (name == toText(state)) {
            return state;
        }
    }
    return State::unknown;
}

Slot slotOf(const Statement& row) {
    return {slotNumber(row, 0), {row.text(1), row.text(2)}, wantedOf(row.text(3))};
}

Card cardOf(const Statement& row) {
    Card card;
    card.slot = slotNumber(row, 0);
    card.state = stateOf(row.text(1));
    card.record = parseRecord(row.text(2));
    card.moduleOltTable = parseRecords(row.text(3));
    card.lastReport = timeOf(row, 4);
    return card;
}

Onu onuOf(const Statement& row) {
    Onu onu;
    onu.macAddress = row.text(0);
    onu.slot = row.isNull(1) ? std::nullopt : std::optional(slotNumber(row, 1));
    onu.state = stateOf(row.text(2));
    onu.record = parseRecord(row.text(3));
    onu.lastReport = fromStored(row.number(4));
    return onu;
}

AlarmState alarmOf(const Statement& row) {
    AlarmState state;
    state.key = {slotNumber(row, 0), row.text(1), row.text(2)};
    state.isRaised = row.text(3) == alarmStateText(true);
    state.raised = timeOf(row, 4);
    state.cleared = timeOf(row, 5);
    state.count = row.number(6);
    state.lastChange = fromStored(row.number(7));
    return state;
}

Event eventOf(const Statement& row) {
    return {row.number(0), fromStored(row.number(1)), eventKindOf(row.text(2)), row.text(3)};
}

template <typename Item>
void readAll(Database& database, const char* sql, Item (*itemOf)(const Statement&),
             std::vector<Item>& items) {
    Statement statement(database, sql);
    statement.each([&] { items.push_back(itemOf(statement)); });
}

}  // namespace

StoredState readStoredState(Database& database, std::size_t events) {
    StoredState stored;
    readAll(database, kSlots, &slotOf, stored.slots);
    readAll(database, kCards, &cardOf, stored.cards);
    readAll(database, kOnus, &onuOf, stored.onus);
    readAll(database, kAlarms, &alarmOf, stored.alarms);
    Statement latest(database, kEvents);
    latest.each([&] { stored.events.push_back(eventOf(latest)); },
                static_cast<std::int64_t>(events));
    std::reverse(stored.events.begin(), stored.events.end());
    return stored;
}

}  // namespace ponmgr::dbman
