#include "dbman/store/DatabaseFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "dbman/Errors.h"
#include "dbman/StateDirectory.h"

namespace ponmgr::dbman {

namespace {

constexpr mode_t kDirectoryMode = 0700;
constexpr mode_t kFileMode = 0640;

std::string reason(int number) {
    return std::generic_category().message(number);
}

void makeDirectories(const std::filesystem::path& directory) {
    std::filesystem::path made;
    for (const auto& part : directory) {
        made /= part;
        if (mkdir(made.c_str(), kDirectoryMode) != 0 && errno != EEXIST) {
            throw Failure("can't make the directory " + made.string() + ": " + reason(errno) +
                          "; give another database with --database FILE");
        }
    }
}

int openOrMake(const std::string& path) {
    int number = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (number < 0 && errno == ENOENT) {
        number = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
        if (number >= 0) {
            fchmod(number, kFileMode);
        }
    }
    return number;
}

}  // namespace

std::string defaultDatabaseFile() {
    const auto directory = stateDirectory();
    if (directory.empty()) {
        throw Failure("neither XDG_STATE_HOME nor HOME is set; give --database FILE");
    }
    makeDirectories(directory);
    return directory + "/dbman.db";
}

DatabaseFile::DatabaseFile(const std::string& path) : descriptor(openOrMake(path)) {
    if (!descriptor.isOpen()) {
        throw Failure("can't open the database " + path + ": " + reason(errno));
    }
    struct stat file {};
    if (fstat(descriptor.get(), &file) != 0 || !S_ISREG(file.st_mode)) {
        throw Failure("can't open the database " + path + ": not a regular file");
    }
    if (flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        throw Failure("can't use the database " + path +
                      (errno == EWOULDBLOCK ? ": another dbman uses it" : ": " + reason(errno)));
    }
}

}  // namespace ponmgr::dbman
