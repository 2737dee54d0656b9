#include "dbman/store/HistoryReader.h"

#include <algorithm>

#include "dbman/store/RecordText.h"
#include "dbman/store/StoredTime.h"

namespace ponmgr::dbman {

namespace {

constexpr auto kSelectAlarmEvents =
    "SELECT id, time, slot_id, resource, alarm, state, datetime FROM alarm_events "
    "WHERE time >= ?1 AND (?2 IS NULL OR slot_id = ?2) ORDER BY time DESC, id DESC LIMIT ?3";
constexpr auto kSelectOptics =
    "SELECT time, mac_address, slot_id, port, levels FROM optics "
    "WHERE mac_address = ?1 AND time >= ?2 ORDER BY time DESC, id DESC LIMIT ?3";

}  // namespace

HistoryReader::HistoryReader(const std::string& file)
    : database(file, Database::Access::readOnly),
      selectAlarmEvents(database, kSelectAlarmEvents),
      selectOptics(database, kSelectOptics) {}

std::vector<AlarmEvent> HistoryReader::alarmEvents(std::optional<int> slot, Time since,
                                                   std::size_t limit) {
    std::vector<AlarmEvent> rows;
    auto& row = selectAlarmEvents;
    row.each(
        [&] {
            rows.push_back({row.number(0),
                            fromStored(row.number(1)),
                            {static_cast<int>(row.number(2)), row.text(3), row.text(4)},
                            row.text(5) == alarmStateText(true),
                            row.text(6)});
        },
        toStored(since), slot ? std::optional<std::int64_t>(*slot) : std::nullopt,
        static_cast<std::int64_t>(limit));
    std::reverse(rows.begin(), rows.end());
    return rows;
}

std::vector<OpticsSample> HistoryReader::optics(const std::string& macAddress, Time since,
                                                std::size_t limit) {
    std::vector<OpticsSample> rows;
    auto& row = selectOptics;
    row.each(
        [&] {
            rows.push_back(
                {fromStored(row.number(0)), row.text(1),
                 row.isNull(2) ? std::nullopt : std::optional(static_cast<int>(row.number(2))),
                 row.text(3), parseRecord(row.text(4))});
        },
        macAddress, toStored(since), static_cast<std::int64_t>(limit));
    std::reverse(rows.begin(), rows.end());
    return rows;
}

}  // namespace ponmgr::dbman
