#include "dbman/Counters.h"

namespace ponmgr::dbman {

Counters::Counters(const std::vector<std::string_view>& uris) {
    for (const auto uri : uris) {
        notifications.emplace(uri, 0);
    }
}

void Counters::countNotification(std::string_view uri) {
    const std::lock_guard lock(mutex);
    const auto found = notifications.find(uri);
    if (found != notifications.end()) {
        ++found->second;
    }
}

void Counters::countUnknown() {
    const std::lock_guard lock(mutex);
    ++unknown;
}

void Counters::countMalformed() {
    const std::lock_guard lock(mutex);
    ++malformed;
}

void Counters::countDisplacedAlarms(std::size_t number) {
    const std::lock_guard lock(mutex);
    displacedAlarms += number;
}

void Counters::countLinkError() {
    const std::lock_guard lock(mutex);
    ++linkErrors;
}

void Counters::countSent() {
    const std::lock_guard lock(mutex);
    ++sent;
}

void Counters::countFailed() {
    const std::lock_guard lock(mutex);
    ++failed;
}

OrderedJson Counters::toJson() const {
    const auto uptime = std::chrono::floor<std::chrono::seconds>(Clock::now() - started);
    const std::lock_guard lock(mutex);
    OrderedJson json = OrderedJson::object();
    json["uptime_seconds"] = uptime.count();
    json["notifications"] = OrderedJson::object();
    for (const auto& [uri, count] : notifications) {
        json["notifications"][uri] = count;
    }
    json["unknown"] = unknown;
    json["malformed"] = malformed;
    json["alarms_displaced"] = displacedAlarms;
    json["link_errors"] = linkErrors;
    json["commands_sent"] = sent;
    json["commands_failed"] = failed;
    return json;
}

}  // namespace ponmgr::dbman
