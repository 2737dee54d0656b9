#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "dbman/AlarmStates.h"
#include "dbman/Event.h"
#include "dbman/Records.h"

namespace ponmgr::dbman {

// What has happened, to be kept in the database. Ids and times are dbman's own.

/// One row of an alarm report.
struct AlarmEvent {
    std::int64_t id = 0;
    Time time;
    AlarmKey key;
    bool isRaised = false;
    /// The daemon's own time, its text.
    std::string datetime;
};

/// The levels of an ONU or of a card's module at one of its ports, by the daemon's keys.
struct OpticsSample {
    Time time;
    std::string macAddress;
    std::optional<int> slot;
    std::string port;
    Record levels;
};

/// A message to the daemon.
struct CommandRow {
    Time time;
    std::string uri;
    /// Its values as a JSON object.
    std::string data;
    /// "sent", or why it was lost.
    std::string result;
};

/// A message of the daemon as it arrived.
struct NotificationRow {
    /// More of a message isn't kept.
    static constexpr std::size_t kMaximumRawBytes = 4096;

    Time time;
    std::string uri;
    /// "ok", "unknown", or what is wrong with it.
    std::string verdict;
    /// Its whole length.
    std::size_t bytes = 0;
    std::string raw;
};

using HistoryRow = std::variant<AlarmEvent, OpticsSample, CommandRow, NotificationRow, Event>;

/// Hands a row to whoever keeps it; doesn't wait, may be called on any thread.
using KeepRow = std::function<void(HistoryRow row)>;

}  // namespace ponmgr::dbman
