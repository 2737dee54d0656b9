#include "dbman/Views.h"

#include <array>
#include <vector>

#include "dbman/Columns.h"
#include "dbman/FitText.h"
#include "dbman/Message.h"
#include "dbman/Table.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownLineBytes = 400;

constexpr std::array kSlotColumns = {
    Column{"slot", "slot_id"},
    Column{"address", "ip_address"},
    Column{"source", "source_address"},
    Column{"wanted", "wanted"},
};

constexpr std::array kCardColumns = {
    Column{"slot", "slot_id"},
    Column{"address", "ip_address", 1},
    Column{"state", "state"},
    Column{"MAC", "mac_address", 2},
    Column{"firmware", "app_version", 3},
    Column{"NVS", "nvs_enabled", 5, true},
    Column{"last report", "last_report", 4, false, true},
};

constexpr std::array kOnuColumns = {
    Column{"MAC", "mac_address"},
    Column{"slot", "slot_id"},
    Column{"port", "pon_port"},
    Column{"state", "state"},
    Column{"provisioned", "is_gigabit", 6, true},
    Column{"ethernet", "ether_up_status", 4, true},
    Column{"power in", "tx_power_input", 1},
    Column{"power out", "tx_power_output", 3},
    Column{"alarms", "alarm_message", 2},
    Column{"last report", "last_report", 5, false, true},
};

constexpr std::array kAlarmColumns = {
    Column{"slot", "slot_id"},     Column{"resource", "resource"},
    Column{"alarm", "alarm"},      Column{"state", "state"},
    Column{"raised", "raised", 1}, Column{"cleared", "cleared", 2},
    Column{"count", "count", 3},   Column{"last change", "last_change", 4},
};

constexpr std::array kHistoryColumns = {
    Column{"time", "time"},   Column{"slot", "slot_id", 1}, Column{"resource", "resource"},
    Column{"alarm", "alarm"}, Column{"state", "state"},     Column{"card's time", "datetime", 2},
};

constexpr std::array kStatusRows = {
    Column{"daemon", "daemon"},
    Column{"uptime in seconds", "uptime_seconds"},
    Column{"unknown uris", "unknown"},
    Column{"malformed messages", "malformed"},
    Column{"active alarms displaced", "alarms_displaced"},
    Column{"link errors", "link_errors"},
    Column{"commands sent", "commands_sent"},
    Column{"commands failed", "commands_failed"},
};

constexpr std::array kDatabaseRows = {
    Column{"database", "file"},
    Column{"database bytes", "size_bytes"},
    Column{"database schema", "schema"},
    Column{"database last commit", "last_commit"},
    Column{"database waiting writes", "waiting_writes"},
    Column{"database lost writes", "lost_writes"},
    Column{"database error", "error"},
};

/// The string member `key`, or the empty text.
std::string orderedText(const OrderedJson& item, const char* key) {
    const auto found = item.find(key);
    return found != item.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

std::string viewSlots(const Json& answer, const Screen& screen) {
    return viewList(arrayOf(answer, "slots"), kSlotColumns, screen);
}

std::string viewCards(const Json& answer, const Screen& screen) {
    return viewList(arrayOf(answer, "cards"), kCardColumns, screen);
}

std::string viewOnus(const Json& answer, const Screen& screen) {
    return viewList(arrayOf(answer, "onus"), kOnuColumns, screen);
}

std::string viewAlarms(const Json& answer, const Screen& screen) {
    return viewList(arrayOf(answer, "alarms"), kAlarmColumns, screen);
}

std::string viewAlarmHistory(const Json& answer, const Screen& screen) {
    return viewList(arrayOf(answer, "events"), kHistoryColumns, screen);
}

std::string viewOnu(const Json& answer, const Screen& screen) {
    Table record({std::string("what"), std::string("value")});
    const Json onu = objectOf(answer, "onu");
    for (const auto& member : onu.items()) {
        record.addRow({member.key(), textOf(onu, member.key().c_str())});
    }
    std::string text = record.text(screen.columns);
    const Json optics = objectOf(answer, "optics");
    if (!optics.empty()) {
        Table levels({std::string("last reading"), std::string("value")});
        for (const auto& member : optics.items()) {
            levels.addRow({member.key(), textOf(optics, member.key().c_str())});
        }
        text += "\n" + levels.text(screen.columns);
    }
    const Json alarms = arrayOf(answer, "alarms");
    text += "\n" + (alarms.empty() ? "no active alarm\n" : viewAlarms(answer, screen));
    return text;
}

std::string viewEvents(const Json& answer, const Screen&) {
    std::string text;
    const Json list = arrayOf(answer, "events");
    for (const auto& event : list) {
        const auto time = textOf(event, "time");
        auto line = textOf(event, "text");
        if (!time.empty() && !line.starts_with(time)) {
            line.insert(0, 1, ' ').insert(0, time);
        }
        text += printable(line, kShownLineBytes) + "\n";
    }
    return text;
}

std::string viewStatus(const Json& answer, const Screen& screen) {
    Table table({std::string("what"), std::string("count")});
    for (const auto& row : kStatusRows) {
        table.addRow({row.header, cellOf(answer, row)});
    }
    const Json notifications = objectOf(answer, "notifications");
    for (const auto& member : notifications.items()) {
        table.addRow({member.key(), textOf(notifications, member.key().c_str())});
    }
    if (answer.contains("database") && answer["database"].is_object()) {
        for (const auto& row : kDatabaseRows) {
            table.addRow({row.header, cellOf(answer["database"], row)});
        }
    }
    return table.text(screen.columns);
}

std::string viewSent(const OrderedJson& answer) {
    std::string text;
    const auto sent = answer.find("sent");
    const bool isList = sent != answer.end() && sent->is_array();
    for (const auto& item : isList ? *sent : OrderedJson::array()) {
        Message message{orderedText(item, "uri"), {}};
        const auto data = item.is_object() ? item.find("data") : item.end();
        if (data != item.end() && data->is_object()) {
            for (const auto& member : data->items()) {
                message.data.emplace_back(member.key(), orderedText(*data, member.key().c_str()));
            }
        }
        text += "sent " + printable(describeMessage(message), kShownLineBytes) + "\n";
    }
    const auto note = orderedText(answer, "note");
    return note.empty() ? text : text + printable(note, kShownLineBytes) + "\n";
}

}  // namespace ponmgr::dbman
