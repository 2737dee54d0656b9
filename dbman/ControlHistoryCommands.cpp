// Commands that tell what has happened.

#include <limits>

#include "dbman/Arguments.h"
#include "dbman/ControlCommands.h"
#include "dbman/RecordJson.h"
#include "dbman/RequestArguments.h"

namespace ponmgr::dbman {

namespace {

constexpr std::int64_t kDefaultSince = 86'400;
constexpr std::int64_t kLongestSince = 315'360'000;
constexpr std::int64_t kDefaultAlarmEvents = 1000;
constexpr std::int64_t kDefaultEvents = 500;
constexpr std::int64_t kMaximumRows = 10'000;

std::size_t limitOf(const Json& request, std::int64_t otherwise) {
    return static_cast<std::size_t>(
        optionalNumber(request, "limit", 1, kMaximumRows).value_or(otherwise));
}

}  // namespace

Time ControlCommands::since(const Json& request) const {
    const auto seconds =
        optionalNumber(request, "since_seconds", 1, kLongestSince).value_or(kDefaultSince);
    return parts.output.now() - std::chrono::seconds(seconds);
}

ControlReply ControlCommands::listAlarms(const Json& request) {
    const bool onlyRaised = flagOf(request, "active");
    return toJson(parts.state.alarms.states(optionalSlot(request), onlyRaised));
}

ControlReply ControlCommands::listAlarmHistory(const Json& request) {
    const auto slot = optionalSlot(request);
    const auto begin = since(request);
    const auto limit = limitOf(request, kDefaultAlarmEvents);
    // What can't be written now is missing; status tells that.
    parts.store.flush();
    return toJson(parts.store.history().alarmEvents(slot, begin, limit));
}

ControlReply ControlCommands::listOptics(const Json& request) {
    const auto macAddress = parseMacAddress(stringMember(request, "mac"));
    const auto begin = since(request);
    parts.store.flush();
    OrderedJson result = OrderedJson::object();
    result["mac_address"] = macAddress;
    result["samples"] = OrderedJson::array();
    for (const auto& sample : parts.store.history().optics(macAddress, begin, kMaximumRows)) {
        result["samples"].push_back(toJson(sample));
    }
    return result;
}

ControlReply ControlCommands::listEvents(const Json& request) {
    const auto after =
        optionalNumber(request, "after", 0, std::numeric_limits<std::int64_t>::max());
    const auto events = parts.events.events(after, limitOf(request, kDefaultEvents));
    auto result = toJson(events);
    // Where the next question goes on: not past what this answer had no room for.
    result["last_id"] = !events.empty() ? events.back().id : after.value_or(parts.events.lastId());
    return result;
}

}  // namespace ponmgr::dbman
