#include "dbman/console/HistoryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "dbman/Descriptor.h"
#include "dbman/Errors.h"

namespace ponmgr::dbman {

namespace {

constexpr int kMaximumLines = 1000;
constexpr mode_t kFileMode = 0600;

/// Only its user may read it from its beginning on.
bool makePrivateFile(const std::string& path) {
    std::error_code error;
    const auto folder = std::filesystem::path(path).parent_path();
    if (!folder.empty() && !std::filesystem::exists(folder, error)) {
        std::filesystem::create_directories(folder, error);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    }
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kFileMode));
    return file.isOpen();
}

}  // namespace

HistoryFile::HistoryFile(std::string historyPath)
    : path(std::move(historyPath)), lines(history_init()) {
    if (!lines) {
        throw Failure("no memory for the history");
    }
    HistEvent event{};
    history(lines.get(), &event, H_SETSIZE, kMaximumLines);
    history(lines.get(), &event, H_SETUNIQUE, 1);
    if (!path.empty()) {
        history(lines.get(), &event, H_LOAD, path.c_str());
    }
}

void HistoryFile::add(const std::string& line) {
    HistEvent event{};
    history(lines.get(), &event, H_ENTER, line.c_str());
    if (!path.empty() && makePrivateFile(path)) {
        history(lines.get(), &event, H_SAVE, path.c_str());
    }
}

}  // namespace ponmgr::dbman
