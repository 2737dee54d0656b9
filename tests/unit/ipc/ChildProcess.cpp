#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <system_error>

namespace ponmgr::test {

namespace {

constexpr std::chrono::seconds kLimit(30);

struct PipeEnds {
    int read = -1;
    int write = -1;
};

PipeEnds makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    return {ends[0], ends[1]};
}

}  // namespace

ChildProcess::ChildProcess(const std::function<void()>& body) {
    const PipeEnds gateEnds = makePipe();
    const PipeEnds outputEnds = makePipe();
    const PipeEnds errorsEnds = makePipe();
    std::fflush(nullptr);  // what is buffered now would be written twice
    child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        close(gateEnds.write);
        runChild(body, gateEnds.read, outputEnds.write, errorsEnds.write);
    }
    close(gateEnds.read);
    close(outputEnds.write);
    close(errorsEnds.write);
    gate = gateEnds.write;
    output.descriptor = outputEnds.read;
    errors.descriptor = errorsEnds.read;
}

ChildProcess::~ChildProcess() {
    stop();
    for (const int descriptor : {gate, output.descriptor, errors.descriptor}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

void ChildProcess::runChild(const std::function<void()>& body, int gateEnd, int outputEnd,
                            int errorsEnd) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    dup2(outputEnd, STDOUT_FILENO);
    dup2(errorsEnd, STDERR_FILENO);
    char begin = 0;
    if (::read(gateEnd, &begin, 1) != 1) {
        _exit(EXIT_FAILURE);
    }
    body();
    std::fflush(stdout);
    _exit(EXIT_SUCCESS);
}

void ChildProcess::begin() {
    const char begin = 1;
    if (::write(gate, &begin, 1) != 1) {
        throw std::system_error(errno, std::generic_category(), "write to the child");
    }
}

bool ChildProcess::prints(const std::string& text) {
    const auto isThere = [&] { return output.text.find(text) != std::string::npos; };
    return collectUntil([&] { return isThere() || output.closed; }) && isThere();
}

std::string ChildProcess::linesFrom(const std::string& start) const {
    std::istringstream stream(output.text);
    std::string lines;
    for (std::string line; std::getline(stream, line) && !stream.eof();) {
        if (line.starts_with(start)) {
            lines += line + "\n";
        }
    }
    return lines;
}

int ChildProcess::waitForEnd() {
    if (!collectUntil([&] { return output.closed && errors.closed; })) {
        return -1;
    }
    int status = -1;
    waitpid(child, &status, 0);
    child = -1;
    return status;
}

void ChildProcess::stop() {
    if (child > 0) {
        kill(child, SIGKILL);
        waitForEnd();
    }
}

bool ChildProcess::collectUntil(const std::function<bool()>& predicate) {
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!predicate()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        // poll() skips a negative descriptor
        std::array<pollfd, 2> pipes{
            pollfd{output.closed ? -1 : output.descriptor, POLLIN, 0},
            pollfd{errors.closed ? -1 : errors.descriptor, POLLIN, 0},
        };
        if (left.count() <= 0 ||
            poll(pipes.data(), pipes.size(), static_cast<int>(left.count())) == 0) {
            return false;
        }
        if (pipes[0].revents != 0) {
            output.read();
        }
        if (pipes[1].revents != 0) {
            errors.read();
        }
    }
    return true;
}

void ChildProcess::Pipe::read() {
    std::array<char, 4096> buffer{};
    const ssize_t length = ::read(descriptor, buffer.data(), buffer.size());
    if (length <= 0) {
        closed = true;
        return;
    }
    text.append(buffer.data(), static_cast<std::size_t>(length));
}

}  // namespace ponmgr::test
