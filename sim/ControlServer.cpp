#include "sim/ControlServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "sim/LocalSocket.h"

namespace ponmgr::sim {

ControlServer::ControlServer(EventLoop& eventLoop, std::string socketPath,
                             ControlVerbs& controlVerbs)
    : loop(eventLoop), path(std::move(socketPath)), verbs(controlVerbs), listener(listenAt(path)) {
    loop.add(listener.get(), EPOLLIN, [this](std::uint32_t) { acceptWaiting(); });
}

ControlServer::~ControlServer() {
    loop.remove(listener.get());
    unlink(path.c_str());
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
                // Out of descriptors: asking again before a session ends would spin.
                loop.change(listener.get(), 0);
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
            loop.change(listener.get(), EPOLLIN);
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
