#include "dbman/Output.h"

#include <utility>

#include "dbman/Text.h"

namespace ponmgr::dbman {

Output::Output(std::ostream& outputStream, bool beQuiet, Clock timeSource)
    : quiet(beQuiet),
      clock(std::move(timeSource)),
      shown(std::make_shared<Shown>(outputStream, clock)) {}

void Output::setListener(Listener lineListener) {
    listener = std::move(lineListener);
}

void Output::start() {
    isStarted = true;
    thread.start("dbman-output", [shown = shown] { writeAll(*shown); });
}

bool Output::stop(std::chrono::milliseconds limit) {
    shown->queue.end();
    return thread.finishWithin(limit);
}

void Output::note(EventKind kind, const std::string& line) {
    show(kind, line, quiet);
}

void Output::warn(const std::string& line, EventKind kind) {
    show(kind, line, false);
}

void Output::announce(const std::string& line) {
    write(line);
}

void Output::show(EventKind kind, const std::string& line, bool hidden) {
    const auto time = now();
    // First, so that what somebody has seen can be asked for.
    if (listener) {
        listener(time, kind, line);
    }
    if (!hidden) {
        write(formatUtc(time) + " " + line);
    }
}

void Output::write(const std::string& line) {
    if (isStarted) {
        shown->queue.add(line + "\n");
    } else {
        shown->stream << line + "\n" << std::flush;
    }
}

void Output::writeAll(Shown& shown) {
    for (auto batch = shown.queue.take(); !batch.lines.empty(); batch = shown.queue.take()) {
        if (batch.leftOut > 0) {
            batch.lines.push_back(formatUtc(shown.clock()) + " " + std::to_string(batch.leftOut) +
                                  " lines not shown\n");
        }
        for (const auto& line : batch.lines) {
            // Flushed a line, so that a reader at a pipe's end sees it when it happens.
            shown.stream << line << std::flush;
        }
    }
}

}  // namespace ponmgr::dbman
