#include "SocketFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "Failure.h"
#include "ListenerProbe.h"
#include "TrustRule.h"

namespace corvane {

namespace {

constexpr mode_t kPermissionBits = 07777;

// What stands at the path itself: a symbolic link is not followed.
struct stat statusOf(std::string_view operation, const LocalAddress& address) {
    struct stat status {};
    if (lstat(address.path(), &status) != 0) {
        throw systemFailure(operation, "the new socket file can't be examined", errno);
    }
    return status;
}

}  // namespace

void makeWay(std::string_view operation, const LocalAddress& address) {
    struct stat status {};
    if (lstat(address.path(), &status) != 0) {
        if (errno == ENOENT) {
            return;
        }
        throw systemFailure(operation, errno);
    }
    if (!S_ISSOCK(status.st_mode)) {
        throw failure(operation, "the file there is no socket and is left alone");
    }
    const int error = probeListener(operation, address);
    // A listener of another socket type, or one that talks to somebody else only, is a listener.
    if (error == 0 || error == EPROTOTYPE || error == EPERM) {
        throw failure(operation, "a process is listening there");
    }
    if (error != ECONNREFUSED && error != ENOENT) {
        throw systemFailure(operation, "can't find out whether a process listens there", error);
    }
    if (unlink(address.path()) != 0 && errno != ENOENT) {
        throw systemFailure(operation, "can't remove the file of a process that has ended", errno);
    }
}

void requireTrustedOwner(std::string_view operation, const LocalAddress& address) {
    // The name itself, which may be a symbolic link, and what it leads to.
    for (const int flags : {AT_SYMLINK_NOFOLLOW, 0}) {
        struct stat status {};
        if (fstatat(AT_FDCWD, address.path(), &status, flags) == 0 &&
            !isTrusted(status.st_uid, geteuid())) {
            throw failure(operation, "the file there belongs to user " +
                                         std::to_string(status.st_uid) + ", who is not trusted");
        }
    }
}

SocketFile::SocketFile(std::string_view operation, const LocalAddress& fileAddress)
    : address(fileAddress) {
    const auto status = statusOf(operation, address);
    device = status.st_dev;
    number = status.st_ino;
    if ((status.st_mode & kPermissionBits) == kSocketFileMode) {
        return;
    }
    if (fchmodat(AT_FDCWD, path(), kSocketFileMode, AT_SYMLINK_NOFOLLOW) != 0) {
        const int error = errno;
        unlink(path());
        throw systemFailure(operation, "can't set the mode of the socket file", error);
    }
}

SocketFile::~SocketFile() {
    struct stat status {};
    if (lstat(path(), &status) == 0 && status.st_dev == device && status.st_ino == number) {
        unlink(path());
    }
}

}  // namespace corvane
