#pragma once

#include <initializer_list>
#include <string_view>

#include "app/Exception.h"

namespace ponmgr {

// The daemon's log is its standard output, and these are all the forms of its lines. Each line is
// written whole, so that lines of different threads never mix. What can't be written, as on a full
// disk, is lost, and what comes next begins a line of its own. None of them takes memory or throws:
// what is caught because there is no memory is printed with them. Any thread.

/// Makes standard output line-buffered, so that a pipe or the journal sees each line at once. Once,
/// before anything is written.
void startLog();

/// The parts, one behind the other, and a line end.
void printLineOf(std::initializer_list<std::string_view> parts);

/// The same; a part is whatever becomes a std::string_view.
template <typename... Parts>
void printLine(const Parts&... parts) {
    printLineOf({std::string_view(parts)...});
}

/// The parts, one behind the other, without a line end, flushed.
void printUnendedOf(std::initializer_list<std::string_view> parts);

/// The same; a part is whatever becomes a std::string_view.
template <typename... Parts>
void printUnended(const Parts&... parts) {
    printUnendedOf({std::string_view(parts)...});
}

/// "Unknown Error at " + operation: for what is caught and is no Exception
void printUnknownError(const char* operation);

/// function[line]: Exception: what()
void printException(const char* function, int line, const Exception& exception);

/// function[line]: Unexpected exception
void printUnexpectedException(const char* function, int line);

/// function[line]-Error: text
void printReceiveError(const char* function, int line, std::string_view text);

/// Fatal Error - function[line]: text, flushed: the process ends right after it
void printFatalError(const char* function, int line, std::string_view text);

/// Runs `body`. An Exception is printed by its what(), anything else as "Unknown Error at " +
/// operation; neither goes further. Returns whether the body ended by itself.
template <typename Body>
bool printFailures(const char* operation, Body&& body) {
    try {
        body();
        return true;
    } catch (const Exception& exception) {
        printLine(exception.what());
    } catch (...) {
        printUnknownError(operation);
    }
    return false;
}

}  // namespace ponmgr
