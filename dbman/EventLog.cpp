#include "dbman/EventLog.h"

#include <algorithm>
#include <array>

namespace ponmgr::dbman {

namespace {

constexpr std::array kKindNames = {"notification", "command", "alarm", "warning"};

}  // namespace

const char* toText(EventKind kind) {
    return kKindNames.at(static_cast<std::size_t>(kind));
}

EventKind eventKindOf(const std::string& name) {
    const auto found = std::find(kKindNames.begin(), kKindNames.end(), name);
    return found == kKindNames.end() ? EventKind::warning
                                     : static_cast<EventKind>(found - kKindNames.begin());
}

EventLog::EventLog(Time start)
    // Microseconds: no run shows more than a million lines a second.
    : nextId(std::chrono::floor<std::chrono::microseconds>(start.time_since_epoch()).count()) {}

void EventLog::load(const std::vector<Event>& events) {
    const std::lock_guard lock(mutex);
    kept.insert(kept.begin(), events.begin(), events.end());
    if (!events.empty()) {
        // The clock may have been set back since.
        nextId = std::max(nextId, events.back().id + 1);
    }
}

Event EventLog::add(Time time, EventKind kind, const std::string& text) {
    const std::lock_guard lock(mutex);
    kept.push_back({nextId++, time, kind, text});
    if (kept.size() > kKept) {
        kept.pop_front();
    }
    return kept.back();
}

std::vector<Event> EventLog::events(std::optional<std::int64_t> after, std::size_t limit) const {
    const std::lock_guard lock(mutex);
    if (!after) {
        const auto count = std::min(limit, kept.size());
        return {kept.end() - static_cast<std::ptrdiff_t>(count), kept.end()};
    }
    const auto first =
        std::upper_bound(kept.begin(), kept.end(), *after,
                         [](std::int64_t id, const Event& event) { return id < event.id; });
    const auto count = std::min(limit, static_cast<std::size_t>(kept.end() - first));
    return {first, first + static_cast<std::ptrdiff_t>(count)};
}

std::int64_t EventLog::lastId() const {
    const std::lock_guard lock(mutex);
    return kept.empty() ? 0 : kept.back().id;
}

}  // namespace ponmgr::dbman
