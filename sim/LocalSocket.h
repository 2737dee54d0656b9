#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "sim/FileDescriptor.h"

namespace ponmgr::sim {

/// A socket that listens at `path`, with mode 0660, and doesn't block. The socket file of a process
/// that has ended is replaced; one that somebody listens at, and any other file, is left alone.
/// Throws std::runtime_error, whose text names the path.
FileDescriptor listenAt(const std::string& path);

/// A blocking connection to `path`. Throws std::runtime_error, whose text names the path.
FileDescriptor connectTo(const std::string& path);

/// Which file something is, whatever its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// What stands at `path` now; nothing when nothing does.
std::optional<FileIdentity> fileAt(const std::string& path);

/// The user whose process is at the other end; nothing when the system doesn't say.
std::optional<uid_t> peerUser(int descriptor);

}  // namespace ponmgr::sim
