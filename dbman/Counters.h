#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/Json.h"

namespace ponmgr::dbman {

/// What has happened since dbman started. Every function may be called on any thread.
class Counters {
public:
    using Clock = std::chrono::steady_clock;

    /// Counts the notifications of these `uris` separately.
    explicit Counters(const std::vector<std::string_view>& uris);

    /// `uri` is one of those given to the constructor.
    void countNotification(std::string_view uri);
    void countUnknown();
    void countMalformed();
    /// Raised alarms that made room for newer ones of their slots.
    void countDisplacedAlarms(std::size_t number);
    void countLinkError();
    void countSent();
    void countFailed();

    /// {"uptime_seconds":..,"notifications":{uri:..},"unknown":..,"malformed":..,
    /// "alarms_displaced":..,"link_errors":..,"commands_sent":..,"commands_failed":..}
    OrderedJson toJson() const;

private:
    const Clock::time_point started = Clock::now();
    mutable std::mutex mutex;
    // Guarded by mutex.
    std::map<std::string, std::uint64_t, std::less<>> notifications;
    std::uint64_t unknown = 0;
    std::uint64_t malformed = 0;
    std::uint64_t displacedAlarms = 0;
    std::uint64_t linkErrors = 0;
    std::uint64_t sent = 0;
    std::uint64_t failed = 0;
};

}  // namespace ponmgr::dbman
