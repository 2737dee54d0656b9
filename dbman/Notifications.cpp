#include "dbman/Notifications.h"

#include <algorithm>
#include <utility>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/OpticLevels.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

// Far above what the daemon sends; they bound what a message can make us keep or show.
constexpr std::size_t kMaximumKeys = 64;
constexpr std::size_t kMaximumKeyBytes = 128;
constexpr std::size_t kMaximumValueBytes = 4096;
constexpr std::size_t kMaximumModuleRows = 2;
constexpr std::size_t kMaximumAlarmsShown = 256;
constexpr std::size_t kMaximumAlarmTextBytes = 256;
constexpr std::size_t kShownValueBytes = 80;
constexpr std::size_t kShownMessageBytes = 160;

// What the "state" of an alarm may be.
constexpr auto kRaised = "On";
constexpr auto kCleared = "Off";

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
        {"/olt/set/all/offline", EventKind::notification, &Notifications::setAllCardsOffline},
        {"/onu/set/all/offline", EventKind::notification, &Notifications::setOnusOffline},
        {"/olt/get/all/ip", EventKind::notification, &Notifications::answerAllAddresses},
        {"/olt/new", EventKind::notification, &Notifications::updateCard},
        {"/onu/new", EventKind::notification, &Notifications::updateOnu},
        {"/olt/alarm/new", EventKind::alarm, &Notifications::takeAlarms},
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

Notifications::Notifications(CurrentState& currentState, Counters& eventCounters,
                             Output& lineOutput, KeepRow keepRow, std::function<void()> answer)
    : state(currentState),
      counters(eventCounters),
      output(lineOutput),
      keep(std::move(keepRow)),
      answerAddresses(std::move(answer)) {}

void Notifications::handle(const std::string& text) {
    NotificationRow row;
    row.bytes = text.size();
    row.raw = cutText(text, NotificationRow::kMaximumRawBytes);
    try {
        const auto notification = parseNotification(text);
        row.uri = cutText(notification.uri, kMaximumKeyBytes);
        row.verdict = carryOut(notification, text);
    } catch (const MalformedMessage& error) {
        countMalformed(error.what(), text);
        row.verdict = error.what();
    }
    row.time = output.now();
    keep(std::move(row));
}

std::string Notifications::carryOut(const Notification& notification, const std::string& text) {
    const auto entry = std::find_if(table().begin(), table().end(),
                                    [&](const Entry& row) { return row.uri == notification.uri; });
    if (entry == table().end()) {
        counters.countUnknown();
        output.note(EventKind::warning, "unknown uri \"" +
                                            printable(notification.uri, kShownValueBytes) +
                                            "\": " + printable(text, kShownMessageBytes));
        return "unknown";
    }
    const auto lines = (this->*entry->handler)(notification.data);
    counters.countNotification(entry->uri);
    for (const auto& line : lines) {
        output.note(entry->kind, std::string(entry->uri) + " " + line);
    }
    return "ok";
}

void Notifications::countMalformed(const std::string& why, const std::string& text) {
    counters.countMalformed();
    output.note(EventKind::warning,
                "malformed message (" + why + "): " + printable(text, kShownMessageBytes));
}

Notifications::Lines Notifications::setAllCardsOffline(const Json&) {
    state.inventory.setAllCardsOffline();
    return {"all cards off-line"};
}

Notifications::Lines Notifications::setOnusOffline(const Json& data) {
    if (!data.contains("slot_id")) {
        state.inventory.setOnusOffline(std::nullopt);
        return {"all ONUs off-line"};
    }
    const int slot = slotOf(data);
    state.inventory.setOnusOffline(slot);
    return {"slot " + std::to_string(slot) + " all its ONUs off-line"};
}

Notifications::Lines Notifications::answerAllAddresses(const Json&) {
    answerAddresses();
    return {"the daemon asks for the addresses"};
}

Notifications::Lines Notifications::updateCard(const Json& data) {
    const int slot = slotOf(data);
    const auto before = state.inventory.findCard(slot);
    state.inventory.updateCard(slot, cardRecordOf(data), moduleOltTableOf(data), output.now());
    if (const auto card = state.inventory.findCard(slot)) {
        keepModuleLevels(before, *card);
    }
    return {"slot " + std::to_string(slot) + " " + onlineText(data) + " mac " +
            shown(data, "mac_address") + " app " + shown(data, "app_version")};
}

void Notifications::keepModuleLevels(const std::optional<Card>& before, const Card& card) {
    const auto macAddress = valueOf(card.record, "mac_address");
    for (std::size_t port = 0; port < card.moduleOltTable.size() && !macAddress.empty(); ++port) {
        auto levels = moduleLevels(card.moduleOltTable[port]);
        const bool known = before && port < before->moduleOltTable.size() &&
                           moduleLevels(before->moduleOltTable[port]) == levels;
        if (!known && hasReading(levels)) {
            keep(OpticsSample{output.now(), macAddress, card.slot, std::to_string(port),
                              std::move(levels)});
        }
    }
}

Notifications::Lines Notifications::updateOnu(const Json& data) {
    const auto macAddress = macAddressOf(data);
    const auto slot = onuSlotOf(data);
    const auto before = state.inventory.findOnu(macAddress);
    if (!state.inventory.updateOnu(macAddress, slot, recordOf(data), output.now())) {
        throw MalformedMessage("one ONU more than " +
                               std::to_string(Inventory::kMaximumOnusOfASlot) + " of a slot");
    }
    if (stringMember(data, "online_status") == "1") {
        // Its return may have been reported while nobody listened.
        state.alarms.linkIsOnline(macAddress, output.now());
    }
    if (const auto onu = state.inventory.findOnu(macAddress)) {
        auto levels = onuLevels(onu->record);
        if (hasReading(levels) && (!before || onuLevels(before->record) != levels)) {
            keep(OpticsSample{output.now(), macAddress, onu->slot, valueOf(onu->record, "pon_port"),
                              std::move(levels)});
        }
    }
    const auto alarms = printable(stringMember(data, "alarm_message"), kShownValueBytes);
    return {macAddress + " slot " + shown(data, "slot_id") + " port " + shown(data, "pon_port") +
            " " + onlineText(data) + (alarms.empty() ? "" : " alarms " + alarms)};
}

Notifications::Lines Notifications::takeAlarms(const Json& data) {
    const auto list = data.find("alarm_list");
    if (list == data.end() || !list->is_array()) {
        throw MalformedMessage("no array \"alarm_list\"");
    }
    for (const auto& row : *list) {
        if (!row.is_object()) {
            throw MalformedMessage("an alarm isn't an object");
        }
    }
    Lines lines;
    std::size_t refused = 0;
    std::size_t displaced = 0;
    for (const auto& row : *list) {
        const auto taken = takeAlarm(row);
        refused += taken == Taken::refused ? 1 : 0;
        displaced += taken == Taken::inPlaceOfARaised ? 1 : 0;
        if (lines.size() < kMaximumAlarmsShown) {
            lines.push_back(alarmLine(row));
        }
    }
    if (list->size() > lines.size()) {
        lines.push_back("and " + std::to_string(list->size() - lines.size()) + " more alarms");
    }
    if (refused > 0) {
        counters.countMalformed();
        lines.push_back(std::to_string(refused) + " of them changed no alarm state");
    }
    if (displaced > 0) {
        counters.countDisplacedAlarms(displaced);
        lines.push_back(std::to_string(displaced) + " active alarms made room: more than " +
                        std::to_string(AlarmStates::kMaximumStatesOfASlot) + " of a slot");
    }
    return lines.empty() ? Lines{"no alarm"} : lines;
}

Notifications::Taken Notifications::takeAlarm(const Json& row) {
    AlarmEvent event;
    event.time = output.now();
    event.key.resource = cutText(stringMember(row, "label"), kMaximumAlarmTextBytes);
    event.key.alarm = cutText(stringMember(row, "alarm"), kMaximumAlarmTextBytes);
    event.datetime = cutText(stringMember(row, "datetime"), kMaximumAlarmTextBytes);
    const auto told = stringMember(row, "state");
    event.isRaised = told == kRaised;
    try {
        event.key.slot = parseSlot(stringMember(row, "slot_id"));
    } catch (const ArgumentError&) {
        return Taken::refused;
    }
    if (event.key.alarm.empty() || (!event.isRaised && told != kCleared)) {
        return Taken::refused;
    }
    const bool displaced = state.alarms.report(event.key, event.isRaised, event.time);
    keep(std::move(event));
    return displaced ? Taken::inPlaceOfARaised : Taken::asState;
}

}  // namespace ponmgr::dbman
