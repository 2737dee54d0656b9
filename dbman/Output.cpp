#include "dbman/Output.h"

#include <utility>

#include "dbman/Text.h"

namespace ponmgr::dbman {

Output::Output(std::ostream& outputStream, bool beQuiet, Clock timeSource)
    : quiet(beQuiet), clock(std::move(timeSource)), stream(outputStream) {}

void Output::note(const std::string& line) {
    if (!quiet) {
        warn(line);
    }
}

void Output::warn(const std::string& line) {
    write(formatUtc(now()) + " " + line);
}

void Output::announce(const std::string& line) {
    write(line);
}

void Output::write(const std::string& line) {
    const std::lock_guard lock(mutex);
    // Flushed a line, so that a reader at a pipe's end sees it when it happens.
    stream << line << '\n' << std::flush;
}

}  // namespace ponmgr::dbman
