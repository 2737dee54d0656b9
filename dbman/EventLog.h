#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "dbman/Event.h"

namespace ponmgr::dbman {

/// The latest lines that were shown, in memory. Every function may be called on any thread.
class EventLog {
public:
    static constexpr std::size_t kKept = 10'000;

    /// The first id is made from `start`, the time at which this run begins: so it is past all ids
    /// of former runs, also of those that never got to the disk.
    explicit EventLog(Time start);

    /// Puts the events of former runs, oldest first, before those of this one.
    void load(const std::vector<Event>& events);

    /// Numbers the line, keeps it and returns it.
    Event add(Time time, EventKind kind, const std::string& text);

    /// Oldest first, `limit` at most: those that follow `after`, or the latest.
    std::vector<Event> events(std::optional<std::int64_t> after, std::size_t limit) const;

    /// The id of the latest line; 0 before the first.
    std::int64_t lastId() const;

private:
    mutable std::mutex mutex;
    // Guarded by mutex.
    std::deque<Event> kept;
    std::int64_t nextId;
};

}  // namespace ponmgr::dbman
