#pragma once

#include <functional>
#include <mutex>
#include <ostream>
#include <string>

#include "dbman/Records.h"

namespace ponmgr::dbman {

/// The lines that `dbman serve` shows. Every line goes out whole and at once, from any thread.
class Output {
public:
    using Clock = std::function<Time()>;

    /// `stream` outlives the object. `quiet` leaves out what happens in normal running.
    Output(std::ostream& stream, bool quiet, Clock clock = std::chrono::system_clock::now);

    /// What happens in normal running: one line, beginning with the time.
    void note(const std::string& line);

    /// What went wrong: the same, but also when quiet.
    void warn(const std::string& line);

    /// A line without the time, also when quiet.
    void announce(const std::string& line);

    Time now() const { return clock(); }

private:
    void write(const std::string& line);

    // Constant after construction.
    const bool quiet;
    const Clock clock;
    std::mutex mutex;
    // Guarded by mutex.
    std::ostream& stream;
};

}  // namespace ponmgr::dbman
