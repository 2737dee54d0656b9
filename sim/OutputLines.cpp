#include "sim/OutputLines.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace ponmgr::sim {

namespace {

constexpr auto kPause = std::chrono::milliseconds(10);
/// What a pipe that is ready takes without blocking.
constexpr std::size_t kMostAtOnce = 4096;

/// The same file, not blocking where it could block. A flag on the descriptor itself would be on
/// the terminal of the shell too, so the file is opened once more; where that is impossible, the
/// wait for readiness before each write has to do.
FileDescriptor openOnceMore(int descriptor) {
    struct stat status {};
    const bool mayBlock =
        fstat(descriptor, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode));
    if (mayBlock) {
        const auto path = "/proc/self/fd/" + std::to_string(descriptor);
        const int opened = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
        if (opened >= 0) {
            return {opened, "open"};
        }
    }
    return {fcntl(descriptor, F_DUPFD_CLOEXEC, 0), "dup"};
}

bool isReady(int descriptor, std::chrono::milliseconds patience) {
    pollfd asked{descriptor, POLLOUT, 0};
    return poll(&asked, 1, static_cast<int>(patience.count())) > 0;
}

}  // namespace

OutputLines::OutputLines(int descriptor, TimerQueue& queue)
    : timers(queue), output(openOnceMore(descriptor)) {}

OutputLines::~OutputLines() {
    timers.cancel(timer);
    const auto end = Clock::now() + kLastPatience;
    for (write(); !broken && !waiting.empty() && Clock::now() < end; write()) {
        isReady(output.get(), kPause);
    }
}

void OutputLines::add(std::string_view line) {
    if (broken) {
        return;
    }
    // In the place where they are missing.
    if (droppedLines > 0 && waiting.size() < kMostWaiting / 2) {
        tellDropped();
    }
    if (droppedLines > 0 || waiting.size() + line.size() >= kMostWaiting) {
        ++droppedLines;
        return;
    }
    waiting += line;
    waiting += '\n';
}

void OutputLines::flush() {
    // The timer goes on when it is due; asking for every batch would only cost time.
    if (!timerRuns) {
        write();
        goOnLater();
    }
}

void OutputLines::goOnLater() {
    if (!broken && !waiting.empty()) {
        timerRuns = true;
        timer = timers.after(kPause, [this] {
            timerRuns = false;
            flush();
        });
    }
}

void OutputLines::tellDropped() {
    waiting += "chassis-sim: " + std::to_string(droppedLines) + " lines not shown\n";
    droppedLines = 0;
}

void OutputLines::write() {
    std::size_t written = 0;
    while (!broken && written < waiting.size() && isReady(output.get(), {})) {
        const auto size = std::min(waiting.size() - written, kMostAtOnce);
        const auto taken = ::write(output.get(), waiting.data() + written, size);
        if (taken >= 0) {
            written += static_cast<std::size_t>(taken);
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR) {
            // Nobody reads any more, or the disk is full: the cards go on.
            broken = true;
        }
    }
    waiting.erase(0, written);
    if (waiting.empty() && droppedLines > 0 && !broken) {
        tellDropped();
    }
}

}  // namespace ponmgr::sim
