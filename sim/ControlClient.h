#pragma once

#include <string>

#include "sim/ControlJson.h"
#include "sim/FileDescriptor.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// The other end of the control socket. Blocks.
class ControlClient {
public:
    /// Throws std::runtime_error when no simulator listens at `path`.
    explicit ControlClient(const std::string& path);

    /// Sends one request and waits at most `patience` for its reply. Throws ControlError when the
    /// simulator ends, stays silent or doesn't reply with JSON; a reply with an "error" is
    /// returned.
    Json request(const Json& message, Duration patience);

private:
    void send(const std::string& line);
    std::string readLine(Duration patience);

    FileDescriptor connection;
    std::string input;
};

}  // namespace ponmgr::sim
