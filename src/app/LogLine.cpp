#include "app/LogLine.h"

#include <array>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <initializer_list>

namespace ponmgr {

namespace {

// A line up to this long leaves in one write: the longest message that can be received, which the
// log quotes when it is no JSON, and the words before it. Pages that no line reaches cost no
// memory.
constexpr std::size_t kLineBufferSize = (std::size_t{1} << 20) + 4096;

// Who has standard output for himself, other threads' lines being kept away.
class OutputLock {
public:
    OutputLock() { flockfile(stdout); }
    OutputLock(const OutputLock&) = delete;
    OutputLock& operator=(const OutputLock&) = delete;
    ~OutputLock() { funlockfile(stdout); }
};

enum class Leaving { AtALineEnd, AtOnce };

// Needs the lock.
void put(std::string_view text) {
    fwrite_unlocked(text.data(), 1, text.size(), stdout);
}

// Whether text was lost since it was asked last, for instance because the disk is full: the stream
// throws away what it can't write. Needs the lock.
bool takeLoss() {
    const bool isLost = ferror_unlocked(stdout) != 0;
    clearerr_unlocked(stdout);
    return isLost;
}

// The parts of one line, which no other thread's come between. It takes no memory: what it prints
// is often that there is none.
void write(std::initializer_list<std::string_view> parts, std::string_view end,
           Leaving leaving = Leaving::AtALineEnd) {
    // Guarded by the lock, of which the thread sanitizer knows nothing: atomic for its sake.
    static std::atomic<bool> isLineCut = false;
    const OutputLock lock;
    if (isLineCut.load(std::memory_order_relaxed)) {
        put("\n");
    }
    for (const std::string_view part : parts) {
        put(part);
    }
    put(end);
    if (leaving == Leaving::AtOnce) {
        fflush_unlocked(stdout);
    }
    isLineCut.store(takeLoss(), std::memory_order_relaxed);
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

void printLineOf(std::initializer_list<std::string_view> parts) {
    write(parts, "\n");
}

void printUnendedOf(std::initializer_list<std::string_view> parts) {
    write(parts, "", Leaving::AtOnce);
}

void printUnknownError(const char* operation) {
    printLineOf({"Unknown Error at ", operation});
}

void printException(const char* function, int line, const Exception& exception) {
    printLineOf({function, "[", Number(line).text(), "]: Exception: ", exception.what()});
}

void printUnexpectedException(const char* function, int line) {
    printLineOf({function, "[", Number(line).text(), "]: Unexpected exception"});
}

void printReceiveError(const char* function, int line, std::string_view text) {
    printLineOf({function, "[", Number(line).text(), "]-Error: ", text});
}

void printFatalError(const char* function, int line, std::string_view text) {
    write({"Fatal Error - ", function, "[", Number(line).text(), "]: ", text}, "\n",
          Leaving::AtOnce);
}

}  // namespace ponmgr
