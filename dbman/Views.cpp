#include "dbman/Views.h"

#include <vector>

#include "dbman/Message.h"
#include "dbman/Table.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownMessageBytes = 400;

struct Column {
    const char* header;
    const char* key;
    /// "1" is shown as "yes" and "0" as "no".
    bool isBoolean = false;
};

constexpr std::array kCardColumns = {
    Column{"slot", "slot_id"},
    Column{"address", "ip_address"},
    Column{"state", "state"},
    Column{"MAC", "mac_address"},
    Column{"firmware", "app_version"},
    Column{"NVS", "nvs_enabled", true},
    Column{"last report", "last_report"},
};

constexpr std::array kOnuColumns = {
    Column{"MAC", "mac_address"},
    Column{"slot", "slot_id"},
    Column{"port", "pon_port"},
    Column{"state", "state"},
    Column{"provisioned", "is_gigabit", true},
    Column{"ethernet", "ether_up_status", true},
    Column{"power in", "tx_power_input"},
    Column{"power out", "tx_power_output"},
    Column{"alarms", "alarm_message"},
    Column{"last report", "last_report"},
};

constexpr std::array kStatusRows = {
    Column{"uptime in seconds", "uptime_seconds"}, Column{"unknown uris", "unknown"},
    Column{"malformed messages", "malformed"},     Column{"link errors", "link_errors"},
    Column{"commands sent", "commands_sent"},      Column{"commands failed", "commands_failed"},
};

std::string cellOf(const Json& item, const Column& column) {
    auto value = stringMember(item, column.key);
    if (column.isBoolean && (value == "1" || value == "0")) {
        return value == "1" ? "yes" : "no";
    }
    return value;
}

template <typename Columns>
std::string viewList(const Json& answer, const char* name, const Columns& columns) {
    std::vector<std::string> headers;
    headers.reserve(columns.size());
    for (const auto& column : columns) {
        headers.emplace_back(column.header);
    }
    Table table(std::move(headers));
    const Json list = answer.value(name, Json::array());
    for (const auto& item : list) {
        std::vector<std::string> cells;
        cells.reserve(columns.size());
        for (const auto& column : columns) {
            cells.push_back(cellOf(item, column));
        }
        table.addRow(std::move(cells));
    }
    return table.text();
}

std::string numberOf(const Json& json, const std::string& key) {
    return json.contains(key) ? printJson(json[key]) : "";
}

}  // namespace

std::string viewCards(const Json& answer) {
    return viewList(answer, "cards", kCardColumns);
}

std::string viewOnus(const Json& answer) {
    return viewList(answer, "onus", kOnuColumns);
}

std::string viewStatus(const Json& answer) {
    Table table({"what", "count"});
    for (const auto& row : kStatusRows) {
        table.addRow({row.header, numberOf(answer, row.key)});
    }
    const Json notifications = answer.value("notifications", Json::object());
    for (const auto& member : notifications.items()) {
        table.addRow({member.key(), printJson(member.value())});
    }
    return table.text();
}

std::string viewSent(const Json& answer) {
    std::string text;
    const Json list = answer.value("sent", Json::array());
    for (const auto& item : list) {
        Message message{stringMember(item, "uri"), {}};
        const Json data = item.value("data", Json::object());
        for (const auto& member : data.items()) {
            message.data.emplace_back(member.key(), stringMember(data, member.key()));
        }
        text += "sent " + printable(describeMessage(message), kShownMessageBytes) + "\n";
    }
    return text;
}

}  // namespace ponmgr::dbman
