#include "sim/ControlClient.h"

#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "sim/LocalSocket.h"

namespace ponmgr::sim {

namespace {

constexpr std::size_t kReadSize = 65536;

/// False when `deadline` has passed.
bool waitReadable(int descriptor, TimePoint deadline) {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd waiting{descriptor, POLLIN, 0};
        const auto timeout = std::clamp<std::int64_t>(left.count(), 0, 1'000'000);
        const int ready = poll(&waiting, 1, static_cast<int>(timeout));
        if (ready > 0) {
            return true;
        }
        if (Clock::now() >= deadline) {
            return false;
        }
    }
}

}  // namespace

ControlClient::ControlClient(const std::string& path) : connection(connectTo(path)) {}

void ControlClient::send(const std::string& line) {
    std::size_t written = 0;
    while (written < line.size()) {
        const auto size =
            ::send(connection.get(), line.data() + written, line.size() - written, MSG_NOSIGNAL);
        if (size > 0) {
            written += static_cast<std::size_t>(size);
        } else if (errno != EINTR) {
            // It has closed the connection; its reason may be there to read.
            return;
        }
    }
}

std::string ControlClient::readLine(Duration patience) {
    const auto deadline = Clock::now() + patience;
    while (true) {
        const auto end = input.find('\n');
        if (end != std::string::npos) {
            auto line = input.substr(0, end);
            input.erase(0, end + 1);
            return line;
        }
        if (!waitReadable(connection.get(), deadline)) {
            throw ControlError("the simulator doesn't reply");
        }
        std::array<char, kReadSize> buffer{};
        const auto size = recv(connection.get(), buffer.data(), buffer.size(), 0);
        if (size > 0) {
            input.append(buffer.data(), static_cast<std::size_t>(size));
        } else if (size == 0 || errno != EINTR) {
            throw ControlError("the simulator has closed the connection");
        }
    }
}

Json ControlClient::request(const Json& message, Duration patience) {
    send(message.dump() + '\n');
    auto reply = Json::parse(readLine(patience), nullptr, false);
    if (!reply.is_object()) {
        throw ControlError("the simulator's reply is no JSON object");
    }
    return reply;
}

}  // namespace ponmgr::sim
