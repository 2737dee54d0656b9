#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "sim/TimerQueue.h"
#include "sim/journal/JournalEntry.h"

namespace ponmgr::sim {

/// Takes every entry of a journal once, in order.
class JournalSink {
public:
    JournalSink() = default;
    JournalSink(const JournalSink&) = delete;
    JournalSink& operator=(const JournalSink&) = delete;
    virtual ~JournalSink() = default;

    virtual void write(const JournalEntry& entry) = 0;
    /// What was written is to be seen by others now.
    virtual void flush() = 0;
};

/// The last datagrams that have passed the cards. One thread.
class Journal {
public:
    using WallClock = std::function<WallTime()>;

    static constexpr std::size_t kLargestCapacity = 1'000'000;
    /// So much of each datagram is kept; sinks get all of it.
    static constexpr std::size_t kBytesKept = 2048;

    /// Keeps the last `entries`, at least 1. Its time begins now; the timer queue, whose clock it
    /// reads, must outlive it.
    Journal(std::size_t entries, const TimerQueue& timers,
            WallClock wallClock = &std::chrono::system_clock::now);

    /// A moment as the entries tell theirs.
    Duration sinceStart(TimePoint moment) const { return moment - start; }

    /// Before the first entry.
    void addSink(std::unique_ptr<JournalSink> sink);

    /// Returns the entry's number.
    std::uint64_t record(const Passage& passage);

    /// The card has dropped the datagram; `reason` lives for ever. Nothing happens when the entry
    /// has been overwritten since.
    void setDropped(std::uint64_t number, std::string_view reason);

    /// Hands to the sinks what they haven't got yet. To be called once in a while: the sooner, the
    /// fewer entries are complete.
    void flush();

    /// Null when it has been overwritten, or isn't there yet.
    const JournalEntry* find(std::uint64_t number) const;
    /// Of the oldest entry that is there, and of the newest; 1 and 0 for an empty journal.
    std::uint64_t firstNumber() const;
    std::uint64_t lastNumber() const { return newest; }

private:
    std::size_t placeOf(std::uint64_t number) const { return (number - 1) % capacity; }
    JournalEntry& nextPlace();
    void keepBytes(JournalEntry& entry, const Passage& passage);

    std::size_t capacity;
    const TimerQueue& timers;
    WallClock wall;
    TimePoint start;
    /// A ring, once it has its full size.
    std::vector<JournalEntry> entries;
    std::uint64_t newest = 0;
    /// The last that the sinks have got.
    std::uint64_t flushed = 0;
    /// Of the datagrams that the sinks haven't got yet, beyond what is kept of each.
    std::size_t excess = 0;
    std::vector<std::unique_ptr<JournalSink>> sinks;
};

}  // namespace ponmgr::sim
