#include "dbman/RecordJson.h"

#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

OrderedJson toJson(const Record& record) {
    OrderedJson json = OrderedJson::object();
    for (const auto& [key, value] : record) {
        json[key] = value;
    }
    return json;
}

std::string timeText(const std::optional<Time>& time) {
    return time ? formatUtc(*time) : std::string();
}

OrderedJson toJson(const Slot& slot) {
    OrderedJson json = OrderedJson::object();
    json["slot_id"] = std::to_string(slot.number);
    json["ip_address"] = slot.address.card;
    json["source_address"] = slot.address.source;
    json["wanted"] = toText(slot.wanted);
    return json;
}

OrderedJson keyJson(const AlarmKey& key) {
    OrderedJson json = OrderedJson::object();
    json["slot_id"] = std::to_string(key.slot);
    json["resource"] = key.resource;
    json["alarm"] = key.alarm;
    return json;
}

OrderedJson toJson(const AlarmState& state) {
    auto json = keyJson(state.key);
    json["state"] = alarmStateText(state.isRaised);
    json["raised"] = timeText(state.raised);
    json["cleared"] = timeText(state.cleared);
    json["count"] = state.count;
    json["last_change"] = formatUtc(state.lastChange);
    return json;
}

OrderedJson toJson(const AlarmEvent& event) {
    OrderedJson json = OrderedJson::object();
    json["id"] = event.id;
    json["time"] = formatUtc(event.time);
    json.update(keyJson(event.key));
    json["state"] = alarmStateText(event.isRaised);
    json["datetime"] = event.datetime;
    return json;
}

OrderedJson toJson(const Event& event) {
    OrderedJson json = OrderedJson::object();
    json["id"] = event.id;
    json["time"] = formatUtc(event.time);
    json["kind"] = toText(event.kind);
    json["text"] = event.text;
    return json;
}

template <typename Item>
OrderedJson listOf(const char* name, const std::vector<Item>& items) {
    OrderedJson list = OrderedJson::array();
    for (const auto& item : items) {
        list.push_back(toJson(item));
    }
    OrderedJson json = OrderedJson::object();
    json[name] = std::move(list);
    return json;
}

}  // namespace

OrderedJson toJson(const Card& card) {
    OrderedJson json = OrderedJson::object();
    json["slot_id"] = std::to_string(card.slot);
    json["ip_address"] = card.address;
    json["source_address"] = card.source;
    json["state"] = toText(card.state);
    for (const auto* key : {"online_status", "mac_address", "app_version", "nvs_enabled"}) {
        json[key] = valueOf(card.record, key);
    }
    json["module_olt_table"] = OrderedJson::array();
    for (const auto& row : card.moduleOltTable) {
        json["module_olt_table"].push_back(toJson(row));
    }
    json["last_report"] = timeText(card.lastReport);
    json["reported_since_start"] = card.isReportedSinceStart;
    return json;
}

OrderedJson toJson(const Onu& onu) {
    OrderedJson json = OrderedJson::object();
    json["mac_address"] = onu.macAddress;
    json["slot_id"] = onu.slot ? std::to_string(*onu.slot) : std::string();
    json["state"] = toText(onu.state);
    json["last_report"] = formatUtc(onu.lastReport);
    json["reported_since_start"] = onu.isReportedSinceStart;
    for (const auto& [key, value] : onu.record) {
        if (!json.contains(key)) {
            json[key] = value;
        }
    }
    return json;
}

OrderedJson toJson(const std::vector<Card>& cards) {
    return listOf("cards", cards);
}

OrderedJson toJson(const std::vector<Onu>& onus) {
    return listOf("onus", onus);
}

OrderedJson toJson(const std::vector<Slot>& slots) {
    return listOf("slots", slots);
}

OrderedJson toJson(const std::vector<AlarmState>& states) {
    return listOf("alarms", states);
}

OrderedJson toJson(const std::vector<AlarmEvent>& events) {
    return listOf("events", events);
}

OrderedJson toJson(const OpticsSample& sample) {
    OrderedJson json = OrderedJson::object();
    json["time"] = formatUtc(sample.time);
    json["port"] = sample.port;
    json.update(toJson(sample.levels));
    return json;
}

OrderedJson toJson(const std::vector<Event>& events) {
    return listOf("events", events);
}

OrderedJson toJson(const StoreStatus& status) {
    OrderedJson json = OrderedJson::object();
    json["file"] = status.file;
    json["size_bytes"] = status.sizeBytes;
    json["schema"] = status.schema;
    json["last_commit"] = timeText(status.lastCommit);
    json["waiting_writes"] = status.waitingWrites;
    json["lost_writes"] = status.lostWrites;
    json["error"] = status.error;
    return json;
}

}  // namespace ponmgr::dbman
