#include "sim/journal/Journal.h"

#include <algorithm>
#include <utility>

namespace ponmgr::sim {

Journal::Journal(std::size_t size, const TimerQueue& queue, WallClock wallClock)
    : capacity(size), timers(queue), wall(std::move(wallClock)), start(queue.now()) {}

void Journal::addSink(std::unique_ptr<JournalSink> sink) {
    sinks.push_back(std::move(sink));
}

JournalEntry& Journal::nextPlace() {
    // What a sink hasn't got yet must not be overwritten.
    if (newest - flushed >= capacity) {
        flush();
    }
    ++newest;
    const auto place = placeOf(newest);
    if (place == entries.size()) {
        entries.emplace_back();
    }
    return entries[place];
}

std::uint64_t Journal::record(const Passage& passage) {
    auto& entry = nextPlace();
    entry.number = newest;
    entry.sinceStart = timers.now() - start;
    entry.wall = wall();
    entry.slot = passage.slot;
    entry.direction = passage.direction;
    entry.local = passage.local;
    entry.peer = passage.peer;
    entry.bytes.assign(passage.bytes.begin(), passage.bytes.end());
    entry.cardBytes.reset();
    if (passage.cardBytes) {
        entry.cardBytes.emplace(passage.cardBytes->begin(), passage.cardBytes->end());
    }
    entry.faults.assign(passage.faults.begin(), passage.faults.end());
    entry.dropped = passage.dropped;
    entry.onTheWire = passage.onTheWire;
    return newest;
}

void Journal::setDropped(std::uint64_t number, std::string_view reason) {
    if (find(number) != nullptr) {
        entries[placeOf(number)].dropped = reason;
    }
}

void Journal::flush() {
    if (flushed == newest) {
        return;
    }
    for (auto number = flushed + 1; number <= newest; ++number) {
        for (const auto& sink : sinks) {
            sink->write(entries[placeOf(number)]);
        }
    }
    flushed = newest;
    for (const auto& sink : sinks) {
        sink->flush();
    }
}

const JournalEntry* Journal::find(std::uint64_t number) const {
    const bool isThere = number >= firstNumber() && number <= newest;
    return isThere ? &entries[placeOf(number)] : nullptr;
}

std::uint64_t Journal::firstNumber() const {
    return newest - std::min<std::uint64_t>(newest, capacity) + 1;
}

}  // namespace ponmgr::sim
