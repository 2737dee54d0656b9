#include "sim/journal/Journal.h"

#include <algorithm>
#include <utility>

namespace ponmgr::sim {

namespace {

/// The sinks get what there is before more than this waits for them.
constexpr std::size_t kMostExcess = std::size_t{4} * 1024 * 1024;

using Bytes = std::vector<std::uint8_t>;

std::size_t excessOf(std::size_t size) {
    return size - std::min(size, Journal::kBytesKept);
}

/// What is beyond `most` goes, and so does the memory that it took.
void cut(Bytes& bytes, std::size_t most) {
    if (bytes.size() > most) {
        bytes.resize(most);
        bytes.shrink_to_fit();
    }
}

}  // namespace

Journal::Journal(std::size_t size, const TimerQueue& queue, WallClock wallClock)
    : capacity(size), timers(queue), wall(std::move(wallClock)), start(queue.now()) {}

void Journal::addSink(std::unique_ptr<JournalSink> sink) {
    sinks.push_back(std::move(sink));
}

JournalEntry& Journal::nextPlace() {
    // What a sink hasn't got yet must not be overwritten.
    if (newest - flushed >= capacity || excess > kMostExcess) {
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
    keepBytes(entry, passage);
    entry.faults.assign(passage.faults.begin(), passage.faults.end());
    entry.dropped = passage.dropped;
    entry.onTheWire = passage.onTheWire;
    return newest;
}

void Journal::keepBytes(JournalEntry& entry, const Passage& passage) {
    const auto kept = [this](std::span<const std::uint8_t> bytes) {
        return sinks.empty() ? bytes.first(std::min(bytes.size(), kBytesKept)) : bytes;
    };
    const auto bytes = kept(passage.bytes);
    // Not into the memory of the entry that was here: the ring's places would all become as large
    // as the longest datagram that each has ever held.
    entry.bytes = std::vector(bytes.begin(), bytes.end());
    entry.size = passage.bytes.size();
    excess += excessOf(bytes.size());
    entry.cardBytes.reset();
    if (passage.cardBytes) {
        const auto cardBytes = kept(*passage.cardBytes);
        entry.cardBytes.emplace(cardBytes.begin(), cardBytes.end());
        excess += excessOf(cardBytes.size());
    }
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
        auto& entry = entries[placeOf(number)];
        for (const auto& sink : sinks) {
            sink->write(entry);
        }
        cut(entry.bytes, kBytesKept);
        if (entry.cardBytes) {
            cut(*entry.cardBytes, kBytesKept);
        }
    }
    flushed = newest;
    excess = 0;
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
