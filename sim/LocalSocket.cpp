#include "sim/LocalSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ponmgr::sim {

namespace {

constexpr int kBacklog = 16;
/// Leaves read and write for owner and group.
constexpr mode_t kMaskFor0660 = 0117;

std::string errorText(int error) {
    return std::generic_category().message(error);
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("'" + path + "' is no path for a socket");
    }
    path.copy(address.sun_path, path.size());
    return address;
}

/// 0, or the errno of the failed connect.
int tryConnect(int descriptor, const std::string& path) {
    const auto address = addressOf(path);
    const int result =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return result == 0 ? 0 : errno;
}

FileDescriptor makeSocket(int flags) {
    return {socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0), "socket"};
}

/// Removes the socket file that a simulator without a clean end has left.
void clearPath(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return;
    }
    if (!S_ISSOCK(status.st_mode)) {
        throw std::runtime_error(path + " exists and is no socket");
    }
    const int error = tryConnect(makeSocket(SOCK_NONBLOCK).get(), path);
    // EPROTOTYPE: with a socket of another type.
    if (error == 0 || error == EAGAIN || error == EPROTOTYPE) {
        throw std::runtime_error("somebody listens at " + path + " already");
    }
    if (error != ECONNREFUSED && error != ENOENT) {
        throw std::runtime_error("can't find out whether somebody listens at " + path + ": " +
                                 errorText(error));
    }
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        throw std::runtime_error("can't remove " + path +
                                 " of a process that has ended: " + errorText(errno));
    }
}

}  // namespace

FileDescriptor listenAt(const std::string& path) {
    const auto address = addressOf(path);
    clearPath(path);
    auto listener = makeSocket(SOCK_NONBLOCK);
    const auto mask = umask(kMaskFor0660);
    const int bound =
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int error = errno;
    umask(mask);
    if (bound != 0) {
        throw std::runtime_error("can't listen at " + path + ": " + errorText(error));
    }
    if (listen(listener.get(), kBacklog) != 0) {
        throw std::runtime_error("can't listen at " + path + ": " + errorText(errno));
    }
    return listener;
}

FileDescriptor connectTo(const std::string& path) {
    auto connection = makeSocket(0);
    const int error = tryConnect(connection.get(), path);
    if (error != 0) {
        throw std::runtime_error("no simulator answers at " + path + ": " + errorText(error) +
                                 "; start one with: chassis-sim, or name its socket with "
                                 "--control");
    }
    return connection;
}

std::optional<FileIdentity> fileAt(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

std::optional<uid_t> peerUser(int descriptor) {
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        return std::nullopt;
    }
    return credentials.uid;
}

}  // namespace ponmgr::sim
