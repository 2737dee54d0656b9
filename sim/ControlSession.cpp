#include "sim/ControlSession.h"

#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace ponmgr::sim {

namespace {

constexpr std::size_t kReadSize = std::size_t{16} * 1024;
/// With this much unread by the client, no further request is taken.
constexpr std::size_t kMostOutput = std::size_t{256} * 1024;

}  // namespace

ControlSession::ControlSession(EventLoop& eventLoop, FileDescriptor accepted,
                               LineHandler lineHandler, Closed whenClosed)
    : loop(eventLoop),
      connection(std::move(accepted)),
      handler(std::move(lineHandler)),
      closed(std::move(whenClosed)) {}

ControlSession::~ControlSession() {
    if (watching) {
        loop.remove(connection.get());
    }
}

void ControlSession::start() {
    loop.add(connection.get(), EPOLLIN, [self = weak_from_this()](std::uint32_t events) {
        if (const auto session = self.lock()) {
            session->onEvents(events);
        }
    });
    watching = true;
}

void ControlSession::refuse(const std::string& reason) {
    closing = true;
    reply({{"error", reason}});
}

void ControlSession::onEvents(std::uint32_t events) {
    if ((events & EPOLLIN) != 0) {
        readSome();
    } else if ((events & (EPOLLHUP | EPOLLERR)) != 0) {
        broken = true;
    }
    pump();
}

void ControlSession::readSome() {
    std::array<char, kReadSize> buffer{};
    const auto size = recv(connection.get(), buffer.data(), buffer.size(), 0);
    if (size > 0) {
        input.append(buffer.data(), static_cast<std::size_t>(size));
    } else if (size == 0) {
        ended = true;
    } else if (errno != EAGAIN && errno != EINTR) {
        broken = true;
    }
}

void ControlSession::reply(const Json& message) {
    output += message.dump(-1, ' ', false, Json::error_handler_t::replace);
    output += '\n';
    busy = false;
    if (!pumping) {
        pump();
    }
}

bool ControlSession::takeLine(std::string& line) {
    const auto end = input.find('\n', consumed);
    const auto size = (end == std::string::npos ? input.size() : end) - consumed;
    if (size > kLongestLine) {
        refuse("a line may have " + std::to_string(kLongestLine) + " bytes at most");
        return false;
    }
    // What a client sends last may lack its line's end.
    if (end == std::string::npos && (!ended || size == 0)) {
        return false;
    }
    line.assign(input, consumed, size);
    consumed += size + (end == std::string::npos ? 0 : 1);
    return true;
}

void ControlSession::handleLines() {
    std::string line;
    while (!busy && !closing && output.size() < kMostOutput && takeLine(line)) {
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            busy = true;
            handler(line, shared_from_this());
        }
    }
    input.erase(0, consumed);
    consumed = 0;
}

void ControlSession::pump() {
    pumping = true;
    // Writing may make room for replies to lines that wait in the input.
    std::size_t before = 0;
    do {
        handleLines();
        before = output.size();
        write();
    } while (!broken && !busy && !closing && before >= kMostOutput && output.size() < kMostOutput);
    pumping = false;
    if (broken || isFinished()) {
        close();
    } else {
        watch();
    }
}

void ControlSession::write() {
    std::size_t written = 0;
    while (!broken && written < output.size()) {
        const auto size = send(connection.get(), output.data() + written, output.size() - written,
                               MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size > 0) {
            written += static_cast<std::size_t>(size);
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR) {
            broken = true;
        }
    }
    output.erase(0, written);
}

bool ControlSession::isFinished() const {
    return !busy && output.empty() && (closing || (ended && input.empty()));
}

void ControlSession::watch() {
    if (!watching) {
        return;
    }
    const bool wantsInput = !busy && !ended && !closing && output.size() < kMostOutput;
    const std::uint32_t events = (wantsInput ? std::uint32_t{EPOLLIN} : 0U) |
                                 (output.empty() ? 0U : std::uint32_t{EPOLLOUT});
    loop.change(connection.get(), events);
}

void ControlSession::close() {
    if (watching) {
        loop.remove(connection.get());
        watching = false;
        closed(*this);
    }
}

}  // namespace ponmgr::sim
