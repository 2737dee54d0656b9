#include "app/LogLine.h"

#include <array>
#include <cstdio>

namespace ponmgr {

namespace {

// A line up to this long leaves in one write: the longest message that can be received, which the
// log quotes when it is no JSON, and the words before it. Pages that no line reaches cost no
// memory.
constexpr std::size_t kLineBufferSize = (std::size_t{1} << 20) + 4096;

void write(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

std::string place(const char* function, int line) {
    return std::string(function) + "[" + std::to_string(line) + "]";
}

}  // namespace

void startLog() {
    // A buffer of our own: without one the C library takes the mode and ignores the size.
    static std::array<char, kLineBufferSize> buffer;
    std::setvbuf(stdout, buffer.data(), _IOLBF, buffer.size());
}

void printLine(const std::string& text) {
    write(text + "\n");
}

void printUnended(const std::string& text) {
    write(text);
    std::fflush(stdout);
}

void printUnknownError(const char* operation) {
    printLine(std::string("Unknown Error at ") + operation);
}

void printException(const char* function, int line, const Exception& exception) {
    printLine(place(function, line) + ": Exception: " + exception.what());
}

void printUnexpectedException(const char* function, int line) {
    printLine(place(function, line) + ": Unexpected exception");
}

void printReceiveError(const char* function, int line, const std::string& text) {
    printLine(place(function, line) + "-Error: " + text);
}

void printFatalError(const char* function, int line, const std::string& text) {
    printLine("Fatal Error - " + place(function, line) + ": " + text);
    std::fflush(stdout);
}

}  // namespace ponmgr
