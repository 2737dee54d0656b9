#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ponmgr::dbman {

using Time = std::chrono::system_clock::time_point;

/// What was reported of one thing, by the daemon's keys.
using Record = std::map<std::string, std::string>;

/// Unknown: nothing has been reported yet.
enum class State { unknown, offline, online };

/// A card, the configured address included.
struct Card {
    int slot = 0;
    std::string address;
    std::string source;
    State state = State::unknown;
    /// "mac_address", "app_version", "nvs_enabled", as far as they were reported.
    Record record;
    /// Readings of the optical module, one record a PON port.
    std::vector<Record> moduleOltTable;
    std::optional<Time> lastReport;
    /// The last report came in this run of dbman; else things may have changed unseen.
    bool isReportedSinceStart = false;
};

/// An ONU, found by its MAC address.
struct Onu {
    std::string macAddress;
    /// Without a value while the daemon hasn't said it.
    std::optional<int> slot;
    State state = State::unknown;
    /// The whole record as it was reported.
    Record record;
    Time lastReport;
    /// As a card's.
    bool isReportedSinceStart = false;
};

/// "unknown", "off-line", "on-line".
const char* toText(State state);

/// The value of `key`, or the empty text.
std::string valueOf(const Record& record, const std::string& key);

}  // namespace ponmgr::dbman
