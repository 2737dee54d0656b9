#include "sim/journal/OutputFile.h"

#include <fcntl.h>
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

FileDescriptor openFile(const std::string& what, const std::string& path, OutputFile::Mode mode) {
    const int place = mode == OutputFile::Mode::append ? O_APPEND : O_TRUNC;
    try {
        return FileDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | place, kAccess),
                              "open");
    } catch (const std::system_error& error) {
        throw std::runtime_error(failureText(what, path, error.code()));
    }
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
