#include "dbman/Notifications.h"

#include <algorithm>
#include <utility>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/Message.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

// Far above what the daemon sends; they bound what a message can make us keep or show.
constexpr std::size_t kMaximumKeys = 64;
constexpr std::size_t kMaximumKeyBytes = 128;
constexpr std::size_t kMaximumValueBytes = 4096;
constexpr std::size_t kMaximumModuleRows = 2;
constexpr std::size_t kMaximumAlarmsShown = 256;
constexpr std::size_t kShownValueBytes = 80;
constexpr std::size_t kShownMessageBytes = 160;

constexpr std::array kCardKeys = {"online_status", "mac_address", "app_version", "nvs_enabled"};

std::string shown(const Json& data, const char* key) {
    return orDash(printable(stringMember(data, key), kShownValueBytes));
}

/// The string members of `data`; everything else is left out.
Record recordOf(const Json& data) {
    Record record;
    for (const auto& member : data.items()) {
        if (record.size() < kMaximumKeys && member.value().is_string() &&
            member.key().size() <= kMaximumKeyBytes) {
            const auto& value = member.value().get_ref<const std::string&>();
            record[member.key()] = cutText(value, kMaximumValueBytes);
        }
    }
    return record;
}

int slotOf(const Json& data) {
    try {
        return parseSlot(stringMember(data, "slot_id"));
    } catch (const ArgumentError& error) {
        throw MalformedMessage(error.what());
    }
}

std::string macAddressOf(const Json& data) {
    try {
        return parseMacAddress(stringMember(data, "mac_address"));
    } catch (const ArgumentError& error) {
        throw MalformedMessage(error.what());
    }
}

/// An ONU's slot: the empty text says that it isn't known yet.
std::optional<int> onuSlotOf(const Json& data) {
    const auto found = data.find("slot_id");
    const bool unknown =
        found == data.end() || (found->is_string() && found->get_ref<const std::string&>().empty());
    return unknown ? std::nullopt : std::optional(slotOf(data));
}

Record cardRecordOf(const Json& data) {
    Record record;
    for (const auto* key : kCardKeys) {
        const auto found = data.find(key);
        if (found != data.end() && found->is_string()) {
            record[key] = cutText(found->get_ref<const std::string&>(), kMaximumValueBytes);
        }
    }
    return record;
}

std::vector<Record> moduleOltTableOf(const Json& data) {
    std::vector<Record> rows;
    const auto found = data.find("module_olt_table");
    if (found == data.end() || !found->is_array()) {
        return rows;
    }
    for (const auto& row : *found) {
        if (row.is_object() && rows.size() < kMaximumModuleRows) {
            rows.push_back(recordOf(row));
        }
    }
    return rows;
}

std::string onlineText(const Json& data) {
    const auto status = stringMember(data, "online_status");
    return status == "1" ? "on-line" : status.empty() ? "state not said" : "off-line";
}

std::string alarmLine(const Json& row) {
    return "slot " + shown(row, "slot_id") + " " + shown(row, "state") + " \"" +
           shown(row, "alarm") + "\" at " + shown(row, "label") + ", " + shown(row, "datetime");
}

}  // namespace

const std::array<Notifications::Entry, 6>& Notifications::table() {
    static constexpr std::array<Entry, 6> entries = {{
        {"/olt/set/all/offline", &Notifications::setAllCardsOffline},
        {"/onu/set/all/offline", &Notifications::setOnusOffline},
        {"/olt/get/all/ip", &Notifications::answerAllAddresses},
        {"/olt/new", &Notifications::updateCard},
        {"/onu/new", &Notifications::updateOnu},
        {"/olt/alarm/new", &Notifications::showAlarms},
    }};
    return entries;
}

std::vector<std::string_view> Notifications::uris() {
    std::vector<std::string_view> result;
    for (const auto& entry : table()) {
        result.push_back(entry.uri);
    }
    return result;
}

Notifications::Notifications(Inventory& knownInventory, Counters& eventCounters, Output& lineOutput,
                             std::function<void()> answer)
    : inventory(knownInventory),
      counters(eventCounters),
      output(lineOutput),
      answerAddresses(std::move(answer)) {}

void Notifications::handle(const std::string& text) {
    try {
        const auto notification = parseNotification(text);
        const auto entry = std::find_if(table().begin(), table().end(), [&](const Entry& row) {
            return row.uri == notification.uri;
        });
        if (entry == table().end()) {
            counters.countUnknown();
            output.note("unknown uri \"" + printable(notification.uri, kShownValueBytes) +
                        "\": " + printable(text, kShownMessageBytes));
            return;
        }
        const auto lines = (this->*entry->handler)(notification.data);
        counters.countNotification(entry->uri);
        for (const auto& line : lines) {
            output.note(std::string(entry->uri) + " " + line);
        }
    } catch (const MalformedMessage& error) {
        showMalformed(error.what(), text);
    }
}

void Notifications::showMalformed(const std::string& why, const std::string& text) {
    counters.countMalformed();
    output.note("malformed message (" + why + "): " + printable(text, kShownMessageBytes));
}

Notifications::Lines Notifications::setAllCardsOffline(const Json&) {
    inventory.setAllCardsOffline();
    return {"all cards off-line"};
}

Notifications::Lines Notifications::setOnusOffline(const Json& data) {
    if (!data.contains("slot_id")) {
        inventory.setOnusOffline(std::nullopt);
        return {"all ONUs off-line"};
    }
    const int slot = slotOf(data);
    inventory.setOnusOffline(slot);
    return {"slot " + std::to_string(slot) + " all its ONUs off-line"};
}

Notifications::Lines Notifications::answerAllAddresses(const Json&) {
    answerAddresses();
    return {"the daemon asks for the addresses"};
}

Notifications::Lines Notifications::updateCard(const Json& data) {
    const int slot = slotOf(data);
    inventory.updateCard(slot, cardRecordOf(data), moduleOltTableOf(data), output.now());
    return {"slot " + std::to_string(slot) + " " + onlineText(data) + " mac " +
            shown(data, "mac_address") + " app " + shown(data, "app_version")};
}

Notifications::Lines Notifications::updateOnu(const Json& data) {
    const auto macAddress = macAddressOf(data);
    const auto slot = onuSlotOf(data);
    if (!inventory.updateOnu(macAddress, slot, recordOf(data), output.now())) {
        throw MalformedMessage("one ONU more than " + std::to_string(Inventory::kMaximumOnus));
    }
    const auto alarms = printable(stringMember(data, "alarm_message"), kShownValueBytes);
    return {macAddress + " slot " + shown(data, "slot_id") + " port " + shown(data, "pon_port") +
            " " + onlineText(data) + (alarms.empty() ? "" : " alarms " + alarms)};
}

Notifications::Lines Notifications::showAlarms(const Json& data) {
    const auto list = data.find("alarm_list");
    if (list == data.end() || !list->is_array()) {
        throw MalformedMessage("no array \"alarm_list\"");
    }
    Lines lines;
    for (const auto& row : *list) {
        if (!row.is_object()) {
            throw MalformedMessage("an alarm isn't an object");
        }
        if (lines.size() < kMaximumAlarmsShown) {
            lines.push_back(alarmLine(row));
        }
    }
    if (list->size() > lines.size()) {
        lines.push_back("and " + std::to_string(list->size() - lines.size()) + " more alarms");
    }
    return lines.empty() ? Lines{"no alarm"} : lines;
}

}  // namespace ponmgr::dbman
