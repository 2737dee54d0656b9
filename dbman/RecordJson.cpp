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

template <typename Item>
OrderedJson listOf(const char* name, const std::vector<Item>& items) {
    OrderedJson list = OrderedJson::array();
    for (const auto& item : items) {
        list.push_back(dbman::toJson(item));
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
    json["last_report"] = card.lastReport ? formatUtc(*card.lastReport) : std::string();
    return json;
}

OrderedJson toJson(const Onu& onu) {
    OrderedJson json = OrderedJson::object();
    json["mac_address"] = onu.macAddress;
    json["slot_id"] = onu.slot ? std::to_string(*onu.slot) : std::string();
    json["state"] = toText(onu.state);
    json["last_report"] = formatUtc(onu.lastReport);
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

}  // namespace ponmgr::dbman
