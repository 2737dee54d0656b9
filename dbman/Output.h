#pragma once

#include <functional>
#include <mutex>
#include <ostream>
#include <string>

#include "dbman/Event.h"
#include "dbman/Records.h"

namespace ponmgr::dbman {

/// The lines that `dbman serve` shows. Every line goes out whole and at once, from any thread.
class Output {
public:
    using Clock = std::function<Time()>;
    /// Gets each line with a time, the time left out, also when quiet. Called by the thread that
    /// shows the line; throws nothing and doesn't wait.
    using Listener = std::function<void(Time time, EventKind kind, const std::string& line)>;

    /// `stream` outlives the object. `quiet` leaves out what happens in normal running.
    Output(std::ostream& stream, bool quiet, Clock clock = std::chrono::system_clock::now);

    /// To be called before other threads show lines.
    void setListener(Listener lineListener);

    /// What happens in normal running: one line, beginning with the time.
    void note(EventKind kind, const std::string& line);

    /// What went wrong: the same, but also when quiet.
    void warn(const std::string& line, EventKind kind = EventKind::warning);

    /// A line without the time, also when quiet.
    void announce(const std::string& line);

    Time now() const { return clock(); }

private:
    void show(EventKind kind, const std::string& line, bool hidden);
    void write(const std::string& line);

    // Constant after construction.
    const bool quiet;
    const Clock clock;
    // Constant once there are threads.
    Listener listener;
    std::mutex mutex;
    // Guarded by mutex.
    std::ostream& stream;
};

}  // namespace ponmgr::dbman
