#pragma once

#include <sys/stat.h>

#include <string_view>

#include "LocalAddress.h"

namespace corvane {

/// Who may send to a bound path: its owner and its group.
constexpr mode_t kSocketFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP;

/// Makes `address` free to bind: removes the socket file of a process that has ended. Throws
/// std::runtime_error, with `operation` in its text, when a process listens there, when the file is
/// no socket, and when neither can be found out; the file is left alone then.
void makeWay(std::string_view operation, const LocalAddress& address);

/// Throws std::runtime_error, with `operation` in its text, when the file at `address` belongs to a
/// user whom this process doesn't trust: in a folder like /tmp anybody may make a socket of the
/// receiver's name. A file that isn't there is no matter; sending to it fails by itself.
void requireTrustedOwner(std::string_view operation, const LocalAddress& address);

/// Owns the file that binding a socket has made. To be destroyed before that socket is closed: the
/// open socket keeps the file's number from being given to another file.
class SocketFile {
public:
    /// Takes over the file at `address` and gives it kSocketFileMode. Throws std::runtime_error,
    /// with `operation` in its text.
    SocketFile(std::string_view operation, const LocalAddress& address);
    SocketFile(const SocketFile&) = delete;
    SocketFile& operator=(const SocketFile&) = delete;
    /// Removes the file unless another one has taken its place.
    ~SocketFile();

    const char* path() const noexcept { return address.path(); }

private:
    LocalAddress address;
    dev_t device = 0;
    ino_t number = 0;
};

}  // namespace corvane
