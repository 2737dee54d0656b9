#include "app/LogLine.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <initializer_list>

namespace ponmgr {

namespace {

// A line up to this long leaves in one write: the longest message that can be received, which the
// log quotes when it is no JSON, and the words before it. Pages that no line reaches cost no
// memory.
constexpr std::size_t kLineBufferSize = (std::size_t{1} << 20) + 4096;

// The parts of one line, which no other thread's come between. It takes no memory: what it prints
// is often that there is none.
void write(std::initializer_list<std::string_view> parts) {
    flockfile(stdout);
    for (const std::string_view part : parts) {
        fwrite_unlocked(part.data(), 1, part.size(), stdout);
    }
    funlockfile(stdout);
}

/// A place's number as text.
class Number {
public:
    explicit Number(int value)
        : end(std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr) {}
    std::string_view text() const {
        return {digits.data(), static_cast<std::size_t>(end - digits.data())};
    }

private:
    std::array<char, 16> digits{};
    const char* end;
};

}  // namespace

void startLog() {
    // A buffer of our own: without one the C library takes the mode and ignores the size.
    static std::array<char, kLineBufferSize> buffer;
    std::setvbuf(stdout, buffer.data(), _IOLBF, buffer.size());
}

void printLine(std::string_view text) {
    write({text, "\n"});
}

void printLine(std::string_view beginning, std::string_view text) {
    write({beginning, text, "\n"});
}

void printUnended(std::string_view text) {
    write({text});
    std::fflush(stdout);
}

void printUnknownError(const char* operation) {
    write({"Unknown Error at ", operation, "\n"});
}

void printException(const char* function, int line, const Exception& exception) {
    write({function, "[", Number(line).text(), "]: Exception: ", exception.what(), "\n"});
}

void printUnexpectedException(const char* function, int line) {
    write({function, "[", Number(line).text(), "]: Unexpected exception\n"});
}

void printReceiveError(const char* function, int line, std::string_view text) {
    write({function, "[", Number(line).text(), "]-Error: ", text, "\n"});
}

void printFatalError(const char* function, int line, std::string_view text) {
    write({"Fatal Error - ", function, "[", Number(line).text(), "]: ", text, "\n"});
    std::fflush(stdout);
}

}  // namespace ponmgr
