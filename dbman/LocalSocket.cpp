#include "dbman/LocalSocket.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "dbman/Errors.h"

namespace ponmgr::dbman {

namespace {

constexpr mode_t kSocketMode = 0660;

std::string errorText(int error) {
    return std::generic_category().message(error);
}

struct Address {
    sockaddr_un value{};

    explicit Address(const std::string& path) {
        if (path.empty() || path.size() >= sizeof value.sun_path) {
            throw Failure("the path of a control socket has 1 to " +
                          std::to_string(sizeof value.sun_path - 1) + " bytes: \"" + path + "\"");
        }
        value.sun_family = AF_UNIX;
        std::memcpy(value.sun_path, path.data(), path.size());
    }

    // The socket calls take every family of address through the one type of pointer.
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&value); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }
};

Descriptor makeSocket(int flags) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!socket.isOpen()) {
        throw Failure("can't make a socket: " + errorText(errno));
    }
    return socket;
}

/// 0 when somebody listens at `address`, else why not.
int tryToConnect(const Descriptor& socket, const Address& address) {
    return ::connect(socket.get(), address.get(), Address::size()) == 0 ? 0 : errno;
}

void removeLeftOver(const std::string& path, const Address& address) {
    struct stat file {};
    if (lstat(path.c_str(), &file) != 0) {
        return;
    }
    if (!S_ISSOCK(file.st_mode)) {
        throw Failure("can't listen at " + path + ": it is there and is no socket");
    }
    // EAGAIN: somebody listens whose queue is full.
    const int error = tryToConnect(makeSocket(SOCK_NONBLOCK), address);
    if (error == 0 || error == EAGAIN) {
        throw Failure("can't listen at " + path + ": a dbman listens there already");
    }
    if (error != ECONNREFUSED && error != ENOENT) {
        throw Failure("can't listen at " + path +
                      ": can't find out whether somebody does: " + errorText(error));
    }
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        throw Failure("can't listen at " + path +
                      ": can't remove the file of a process that has ended: " + errorText(errno));
    }
}

}  // namespace

LocalListener::LocalListener(std::string listenPath)
    : path(std::move(listenPath)), socket(makeSocket(SOCK_NONBLOCK)) {
    const Address address(path);
    removeLeftOver(path, address);
    // The file takes the socket's mode at its making, so it is never open to others.
    fchmod(socket.get(), kSocketMode);
    if (::bind(socket.get(), address.get(), Address::size()) != 0) {
        throw Failure("can't listen at " + path + ": " + errorText(errno));
    }
    const bool usable = chmod(path.c_str(), kSocketMode) == 0 && lstat(path.c_str(), &file) == 0 &&
                        ::listen(socket.get(), kWaitingConnections) == 0;
    if (!usable) {
        const int error = errno;
        unlink(path.c_str());
        throw Failure("can't listen at " + path + ": " + errorText(error));
    }
}

LocalListener::~LocalListener() {
    struct stat current {};
    if (lstat(path.c_str(), &current) == 0 && current.st_ino == file.st_ino &&
        current.st_dev == file.st_dev) {
        unlink(path.c_str());
    }
}

Descriptor LocalListener::accept() {
    Descriptor connection(::accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    const int error = errno;
    const bool isNone = error == EAGAIN || error == ECONNABORTED || error == EINTR;
    if (!connection.isOpen() && !isNone) {
        throw Failure("can't take a client at " + path + ": " + errorText(error));
    }
    return connection;
}

bool isPeerTrusted(const Descriptor& connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    return peer.uid == geteuid() || peer.uid == 0;
}

Descriptor connectLocal(const std::string& path, int seconds) {
    const Address address(path);
    Descriptor socket = makeSocket(0);
    const timeval limit{seconds, 0};
    setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    const int error = tryToConnect(socket, address);
    if (error == ENOENT || error == ECONNREFUSED) {
        throw NotRunning("no dbman listens at " + path + "; start one with: dbman serve");
    }
    if (error != 0) {
        throw Failure("can't reach dbman at " + path + ": " + errorText(error));
    }
    return socket;
}

std::optional<std::size_t> sendSome(const Descriptor& connection, std::string_view bytes) {
    const auto count = ::send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) {
        return static_cast<std::size_t>(count);
    }
    return errno == EAGAIN || errno == EINTR ? std::optional<std::size_t>(0) : std::nullopt;
}

std::optional<std::size_t> receiveSome(const Descriptor& connection, std::string& bytes) {
    std::array<char, 16384> piece{};
    const auto count = ::recv(connection.get(), piece.data(), piece.size(), 0);
    if (count > 0) {
        bytes.append(piece.data(), static_cast<std::size_t>(count));
        return static_cast<std::size_t>(count);
    }
    const bool nothingYet = count < 0 && (errno == EAGAIN || errno == EINTR);
    return nothingYet ? std::optional<std::size_t>(0) : std::nullopt;
}

}  // namespace ponmgr::dbman
