#include "sim/ControlServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "sim/LocalSocket.h"

namespace ponmgr::sim {

namespace {

/// Until the system is asked once more for a descriptor that it didn't have.
constexpr auto kPause = std::chrono::milliseconds(100);

}  // namespace

ControlServer::ControlServer(EventLoop& eventLoop, std::string socketPath,
                             ControlVerbs& controlVerbs)
    : loop(eventLoop),
      path(std::move(socketPath)),
      verbs(controlVerbs),
      listener(listenAt(path)),
      file(fileAt(path)) {
    loop.add(listener.get(), EPOLLIN, [this](std::uint32_t) { acceptWaiting(); });
}

ControlServer::~ControlServer() {
    loop.timers().cancel(rearm);
    loop.remove(listener.get());
    // Somebody else's by now, perhaps.
    if (fileAt(path) == file) {
        unlink(path.c_str());
    }
}

void ControlServer::pause() {
    loop.change(listener.get(), 0);
    loop.timers().cancel(rearm);
    rearm = loop.timers().after(kPause, [this] { loop.change(listener.get(), EPOLLIN); });
}

void ControlServer::acceptWaiting() {
    while (true) {
        const int accepted =
            accept4(listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (accepted >= 0) {
            try {
                open(FileDescriptor(accepted, "accept4"));
            } catch (const std::system_error&) {
                // The system can't watch one more descriptor: this client is turned away.
                continue;
            }
        } else if (errno != EINTR && errno != ECONNABORTED) {
            if (errno != EAGAIN) {
                // Out of descriptors: asking again at once would spin.
                pause();
            }
            return;
        }
    }
}

void ControlServer::open(FileDescriptor connection) {
    const auto user = peerUser(connection.get());
    const auto session = std::make_shared<ControlSession>(
        loop, std::move(connection),
        [this](const std::string& line, const ReplyChannelPointer& channel) {
            verbs.handle(line, channel);
        },
        [this](const ControlSession& ended) {
            std::erase_if(sessions, [&](const auto& kept) { return kept.get() == &ended; });
        });
    if (!user || (*user != geteuid() && *user != 0)) {
        session->refuse("only root and the user who runs the simulator may control it");
    } else if (sessions.size() >= kMostSessions) {
        session->refuse("too many sessions: " + std::to_string(sessions.size()));
    } else {
        sessions.insert(session);
        session->start();
    }
}

}  // namespace ponmgr::sim
