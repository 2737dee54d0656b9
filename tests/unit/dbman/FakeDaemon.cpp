#include "FakeDaemon.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

#include "support/WaitFor.h"

namespace ponmgr::dbman::test {

namespace {

constexpr auto kStop = "stop the fake daemon";
constexpr std::string_view kCommands = "/tmp/dbpman.ipc";

void listen(Corvane& socket) {
    if (!socket.createSocket() || !socket.bind(kCommands.data())) {
        throw std::runtime_error(socket.getErrorMessage());
    }
}

void sendTo(const char* path, int link, const std::string& text) {
    Corvane socket(link);
    if (!socket.createSocket() || !socket.connect(path) || socket.send(text) < 0) {
        throw std::runtime_error(socket.getErrorMessage());
    }
}

}  // namespace

FakeDaemon::FakeDaemon() : socket(2010) {
    listen(socket);
    thread = std::thread([this] { run(); });
}

FakeDaemon::~FakeDaemon() {
    sendTo(kCommands.data(), 2010, kStop);
    thread.join();
}

void FakeDaemon::run() {
    std::string text;
    while (socket.recv(text) >= 0 && text != kStop) {
        const std::lock_guard lock(mutex);
        commands.push_back(text);
    }
}

std::vector<std::string> FakeDaemon::waitForCommands(std::size_t count) const {
    ponmgr::test::waitFor([&] {
        const std::lock_guard lock(mutex);
        return commands.size() >= count;
    });
    const std::lock_guard lock(mutex);
    return commands;
}

void notify(const std::string& text) {
    sendTo("/tmp/pmdbman.ipc", 2001, text);
}

std::string notification(const std::string& uri, const std::string& data) {
    return R"({"action":"set","uri":")" + uri + R"(","data":)" + data + "}";
}

DeafDaemon::DeafDaemon() : socket(2010) {
    listen(socket);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(kCommands.begin(), kCommands.end(), std::begin(address.sun_path));
    const int filler = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    while (sendto(filler, "x", 1, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           1) {
        ++fillers;
    }
    close(filler);
}

std::vector<std::string> DeafDaemon::take(std::size_t count) {
    std::string text;
    for (; fillers > 0; --fillers) {
        socket.recv(text);
    }
    std::vector<std::string> commands;
    while (commands.size() < count && socket.recv(text) >= 0) {
        commands.push_back(text);
    }
    return commands;
}

}  // namespace ponmgr::dbman::test
