#include "dbman/Output.h"

#include <utility>

#include "dbman/Text.h"

namespace ponmgr::dbman {

Output::Output(std::ostream& outputStream, bool beQuiet, Clock timeSource)
    : quiet(beQuiet), clock(std::move(timeSource)), stream(outputStream) {}

void Output::setListener(Listener lineListener) {
    listener = std::move(lineListener);
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
    if (!hidden) {
        write(formatUtc(time) + " " + line);
    }
    if (listener) {
        listener(time, kind, line);
    }
}

void Output::write(const std::string& line) {
    const std::lock_guard lock(mutex);
    // Flushed a line, so that a reader at a pipe's end sees it when it happens.
    stream << line << '\n' << std::flush;
}

}  // namespace ponmgr::dbman
