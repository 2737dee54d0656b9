#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "dbman/Descriptor.h"

namespace ponmgr::dbman {

// Byte streams between processes of this machine, over AF_UNIX. No descriptor survives an exec, and
// no write to a closed connection raises a signal.

/// Where dbman listens for its own commands unless something else is asked for.
constexpr auto kDefaultControlPath = "/tmp/dbman.ctl";

/// Connections that may wait at a socket to be accepted.
constexpr int kWaitingConnections = 16;

/// A socket that listens at a path, mode 0660, and doesn't block. Removes the path in the end
/// unless another file stands there by then.
class LocalListener {
public:
    /// A socket file that nobody listens at any more is replaced. Throws Failure when somebody
    /// listens at `path`, or something that is no socket is there.
    explicit LocalListener(std::string path);
    LocalListener(const LocalListener&) = delete;
    LocalListener& operator=(const LocalListener&) = delete;
    ~LocalListener();

    int descriptor() const { return socket.get(); }

    /// The next connection that waits, or one that isn't open when there is none. Throws Failure
    /// when it goes on waiting because it can't be taken, as without a descriptor left.
    Descriptor accept();

private:
    const std::string path;
    Descriptor socket;
    struct stat file {};
};

/// Whether the process at the other end runs as our own effective user or as root.
bool isPeerTrusted(const Descriptor& connection);

/// Connects to the listener at `path`; reads and writes wait no longer than `seconds` for each
/// piece. Throws NotRunning when nobody listens there, Failure for everything else.
Descriptor connectLocal(const std::string& path, int seconds);

/// Sends as much as goes without a failure; the number of bytes, 0 for a moment in which none goes,
/// no value when the connection is broken. Doesn't wait on a descriptor that doesn't block.
std::optional<std::size_t> sendSome(const Descriptor& connection, std::string_view bytes);

/// Appends what has arrived to `bytes`. The number of bytes; 0 for a moment in which there is none;
/// no value when the peer has ended the connection or it is broken.
std::optional<std::size_t> receiveSome(const Descriptor& connection, std::string& bytes);

}  // namespace ponmgr::dbman
