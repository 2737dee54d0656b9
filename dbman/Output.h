#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include "dbman/Event.h"
#include "dbman/LineQueue.h"
#include "dbman/LinkThread.h"
#include "dbman/Records.h"

namespace ponmgr::dbman {

/// The lines that `dbman serve` shows, whole and in order, from any thread. Between start() and
/// stop() a thread of its own ("dbman-output") writes them, so that nobody waits for a reader that
/// doesn't read; lines that pile up past LineQueue::kMaximumLines are counted, and "N lines not
/// shown" stands in their place. Before start() whoever shows a line writes it.
class Output {
public:
    using Clock = std::function<Time()>;
    /// Gets each line with a time, the time left out, also when quiet. Called by the thread that
    /// shows the line; throws nothing and doesn't wait.
    using Listener = std::function<void(Time time, EventKind kind, const std::string& line)>;

    /// How long stop() waits for lines to be taken.
    static constexpr std::chrono::milliseconds kStopPatience{1000};

    /// `stream` outlives the object, and the process when stop() says so. `quiet` leaves out what
    /// happens in normal running.
    Output(std::ostream& stream, bool quiet, Clock clock = std::chrono::system_clock::now);

    /// To be called before other threads show lines.
    void setListener(Listener lineListener);

    /// To be called once, and before other threads show lines.
    void start();

    /// Shows what waits, for `limit` at most; lines that come later are left out. False when the
    /// stream takes nothing: the thread is left in it until the process ends, and whoever else uses
    /// the stream would be stuck too.
    bool stop(std::chrono::milliseconds limit = kStopPatience);

    /// What happens in normal running: one line, beginning with the time.
    void note(EventKind kind, const std::string& line);

    /// What went wrong: the same, but also when quiet.
    void warn(const std::string& line, EventKind kind = EventKind::warning);

    /// A line without the time, also when quiet.
    void announce(const std::string& line);

    Time now() const { return clock(); }

private:
    /// What the thread uses; its own too, since it may be left behind.
    struct Shown {
        Shown(std::ostream& outputStream, Clock timeSource)
            : stream(outputStream), clock(std::move(timeSource)) {}

        std::ostream& stream;
        const Clock clock;
        LineQueue queue;
    };

    void show(EventKind kind, const std::string& line, bool hidden);
    void write(const std::string& line);
    static void writeAll(Shown& shown);

    // Constant after construction.
    const bool quiet;
    const Clock clock;
    // Its queue synchronises itself; its stream belongs to the thread once there is one.
    const std::shared_ptr<Shown> shown;
    // Constant once there are threads.
    Listener listener;
    bool isStarted = false;
    // Used by the thread that starts and stops.
    LinkThread thread;
};

}  // namespace ponmgr::dbman
