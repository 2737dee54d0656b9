#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace ponmgr::dbman {

/// Lines that wait to be shown, a bounded number of them. Every function may be called on any
/// thread.
class LineQueue {
public:
    /// Far more than a burst has; some megabytes.
    static constexpr std::size_t kMaximumLines = 10'000;

    struct Batch {
        /// In the order in which they were added.
        std::deque<std::string> lines;
        /// How many followed them that didn't fit.
        std::size_t leftOut = 0;
    };

    /// Doesn't wait: a line that doesn't fit is counted, and so is one that comes after end().
    void add(std::string line);

    /// All that waits; waits for the first. An empty batch after end() says that there is no more.
    Batch take();

    /// Nothing is added any more.
    void end();

private:
    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex.
    Batch waiting;
    bool ended = false;
};

}  // namespace ponmgr::dbman
