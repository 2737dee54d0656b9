#include "sim/journal/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ponmgr::sim {

namespace {

constexpr int kAccess = 0644;
/// Enough for a system call to be cheap.
constexpr std::size_t kMostWaiting = std::size_t{256} * 1024;

std::string failureText(const std::string& what, const std::string& path, std::error_code reason) {
    return "can't write the " + what + " to " + path + ": " + reason.message();
}

/// A pipe that nobody reads, or a terminal that somebody has stopped, would stop the simulator.
bool isRegular(const FileDescriptor& file) {
    struct stat status {};
    return fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
}

FileDescriptor openFile(const std::string& what, const std::string& path, OutputFile::Mode mode) {
    const int place = mode == OutputFile::Mode::append ? O_APPEND : O_TRUNC;
    // Opening a pipe doesn't wait for its reader; without one the system calls it no device.
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | place;
    try {
        FileDescriptor file(open(path.c_str(), flags, kAccess), "open");
        if (isRegular(file)) {
            return file;
        }
    } catch (const std::system_error& error) {
        if (error.code().value() != ENXIO) {
            throw std::runtime_error(failureText(what, path, error.code()));
        }
    }
    throw std::runtime_error("can't write the " + what + " to " + path +
                             ": not a regular file; allowed: one, or a name that isn't taken");
}

}  // namespace

OutputFile::OutputFile(std::string name, std::string where, Mode mode)
    : what(std::move(name)), path(std::move(where)), file(openFile(what, path, mode)) {}

void OutputFile::write(std::string_view bytes) {
    if (broken) {
        return;
    }
    waiting += bytes;
    if (waiting.size() >= kMostWaiting) {
        flush();
    }
}

void OutputFile::flush() {
    std::string_view rest = waiting;
    while (!broken && !rest.empty()) {
        const auto size = ::write(file.get(), rest.data(), rest.size());
        if (size >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            broken = true;
            std::cerr << "chassis-sim: " +
                             failureText(what, path, {errno, std::generic_category()}) +
                             "; nothing more is written there\n";
        }
    }
    waiting.clear();
}

}  // namespace ponmgr::sim
