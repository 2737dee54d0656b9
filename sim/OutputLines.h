#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "sim/FileDescriptor.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// Lines for whoever reads the standard output. They never block the loop: what the reader doesn't
/// take waits, and beyond kMostWaiting bytes lines are dropped and counted; the reader is told how
/// many. One thread, that of the timer queue.
class OutputLines {
public:
    static constexpr std::size_t kMostWaiting = std::size_t{1024} * 1024;

    /// How long a reader at the end is waited for.
    static constexpr auto kLastPatience = std::chrono::milliseconds(500);

    /// The descriptor stays the caller's. The timer queue must outlive it. Throws
    /// std::system_error.
    OutputLines(int descriptor, TimerQueue& queue);
    OutputLines(const OutputLines&) = delete;
    OutputLines& operator=(const OutputLines&) = delete;
    /// Blocks for kLastPatience at most while the reader takes what is left.
    ~OutputLines();

    /// One line without its end; it goes out with the next flush().
    void add(std::string_view line);

    /// Writes what the reader takes now; a timer goes on with the rest.
    void flush();

    /// Lines that were dropped since the reader was told last.
    std::uint64_t dropped() const { return droppedLines; }

private:
    void write();
    void tellDropped();
    void goOnLater();

    TimerQueue& timers;
    FileDescriptor output;
    std::string waiting;
    std::uint64_t droppedLines = 0;
    bool broken = false;
    bool timerRuns = false;
    TimerQueue::Timer timer;
};

}  // namespace ponmgr::sim
