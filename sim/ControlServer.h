#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "sim/ControlSession.h"
#include "sim/ControlVerbs.h"
#include "sim/EventLoop.h"
#include "sim/FileDescriptor.h"
#include "sim/LocalSocket.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// Listens at the control socket and hands the lines of its clients to the verbs. Only processes of
/// the simulator's own user and of root are served.
class ControlServer {
public:
    static constexpr std::size_t kMostSessions = 64;

    /// Throws std::runtime_error when it can't listen at `path`.
    ControlServer(EventLoop& loop, std::string path, ControlVerbs& verbs);
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;
    /// Ends all sessions and removes the socket file, unless another stands in its place.
    ~ControlServer();

    std::size_t sessionCount() const { return sessions.size(); }

private:
    void acceptWaiting();
    void open(FileDescriptor connection);
    void pause();

    EventLoop& loop;
    std::string path;
    ControlVerbs& verbs;
    FileDescriptor listener;
    std::optional<FileIdentity> file;
    TimerQueue::Timer rearm;
    std::set<std::shared_ptr<ControlSession>> sessions;
};

}  // namespace ponmgr::sim
