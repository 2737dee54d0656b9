#include "dbman/ControlServer.h"

#include <malloc.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "dbman/Errors.h"
#include "dbman/Json.h"

namespace ponmgr::dbman {

namespace {

// What poll() passes over.
constexpr int kNotPolled = -1;

}  // namespace

ControlServer::ControlServer(std::string controlPath, Handler lineHandler, Report errorReport)
    : path(std::move(controlPath)),
      handler(std::move(lineHandler)),
      report(std::move(errorReport)) {}

ControlServer::~ControlServer() {
    stop();
}

void ControlServer::listen() {
    stopEvent = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    wakeEvent = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!stopEvent.isOpen() || !wakeEvent.isOpen()) {
        throw Failure("can't make an event for the control socket");
    }
    listener = std::make_unique<LocalListener>(path);
}

void ControlServer::wake() {
    eventfd_write(wakeEvent.get(), 1);
}

void ControlServer::start() {
    thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "dbman-control");
        run();
    });
}

void ControlServer::stop() {
    if (thread.joinable()) {
        eventfd_write(stopEvent.get(), 1);
        thread.join();
    }
    connections.clear();
    listener.reset();
}

std::vector<pollfd> ControlServer::polledDescriptors() const {
    // A client that can't be taken stays ready; without a pause poll() would never wait.
    const int listening = isPausing() ? kNotPolled : listener->descriptor();
    std::vector<pollfd> polled = {
        {stopEvent.get(), POLLIN, 0}, {wakeEvent.get(), POLLIN, 0}, {listening, POLLIN, 0}};
    for (const auto& connection : connections) {
        // A client that doesn't fetch its answers gets no further ones.
        const int wanted = connection.output.empty() ? POLLIN : POLLOUT;
        // One whose answer is awaited only tells that it has gone.
        polled.push_back(
            {connection.descriptor.get(), static_cast<short>(connection.awaited ? 0 : wanted), 0});
    }
    return polled;
}

void ControlServer::run() {
    while (true) {
        auto polled = polledDescriptors();
        if (poll(polled.data(), polled.size(), pollTimeout()) < 0) {
            continue;
        }
        eventfd_t wakes = 0;
        eventfd_read(wakeEvent.get(), &wakes);
        settleAll();
        if (polled[0].revents != 0) {
            return;
        }
        for (std::size_t index = 0; index < connections.size(); ++index) {
            serve(connections[index], polled[index + polled.size() - connections.size()].revents);
        }
        std::erase_if(connections,
                      [](const Connection& connection) { return !connection.descriptor.isOpen(); });
        giveMemoryBack();
        acceptOrPause();
    }
}

void ControlServer::giveMemoryBack() {
    const bool isSending = std::ranges::any_of(
        connections, [](const Connection& connection) { return !connection.output.empty(); });
    if (!isSending && sentBytes >= kLongAnswers) {
        // What has been taken meanwhile for other things lies behind the memory of the answers, and
        // the allocator keeps all that lies before it.
        malloc_trim(0);
        sentBytes = 0;
    }
}

int ControlServer::pollTimeout() const {
    using std::chrono::milliseconds;
    using Clock = std::chrono::steady_clock;
    auto next = Clock::time_point::max();
    if (isPausing()) {
        next = acceptAgain;
    }
    for (const auto& connection : connections) {
        next = connection.awaited ? std::min(next, connection.awaited->limit()) : next;
    }
    if (next == Clock::time_point::max()) {
        return -1;
    }
    const auto pause = std::chrono::ceil<milliseconds>(next - Clock::now());
    return static_cast<int>(std::max(pause, milliseconds(0)).count());
}

void ControlServer::settleAll() {
    for (auto& connection : connections) {
        if (connection.awaited) {
            settle(connection);
            answerLines(connection);
        }
    }
}

void ControlServer::settle(Connection& connection) {
    const auto line = connection.awaited->take();
    if (line) {
        connection.awaited.reset();
        connection.output = *line + "\n";
        flush(connection);
    }
}

void ControlServer::acceptOrPause() {
    if (isPausing()) {
        return;
    }
    try {
        acceptAll();
    } catch (const Failure& error) {
        acceptAgain = std::chrono::steady_clock::now() + kAcceptPause;
        if (!std::exchange(isReported, true)) {
            report(error.what());
        }
    }
}

void ControlServer::acceptAll() {
    for (auto descriptor = listener->accept(); descriptor.isOpen();
         descriptor = listener->accept()) {
        isReported = false;
        Connection connection;
        connection.descriptor = std::move(descriptor);
        if (!isPeerTrusted(connection.descriptor)) {
            endWith(connection, "only the user of this dbman and root may command it");
        } else if (connections.size() >= kMaximumConnections) {
            endWith(connection, "too many clients at a time");
        }
        flush(connection);
        if (connection.descriptor.isOpen()) {
            connections.push_back(std::move(connection));
        }
    }
}

void ControlServer::serve(Connection& connection, short events) {
    if (events == 0) {
        return;
    }
    if (connection.awaited) {
        if ((events & (POLLHUP | POLLERR)) != 0) {
            connection.descriptor = Descriptor();
        }
        return;
    }
    if (connection.output.empty()) {
        const auto received = receiveSome(connection.descriptor, connection.input);
        if (!received) {
            connection.descriptor = Descriptor();
            return;
        }
    }
    flush(connection);
    answerLines(connection);
}

void ControlServer::answerLines(Connection& connection) {
    while (connection.descriptor.isOpen() && connection.output.empty() && !connection.awaited) {
        const auto end = connection.input.find('\n');
        if (end == std::string::npos) {
            break;
        }
        const auto line = connection.input.substr(0, end);
        connection.input.erase(0, end + 1);
        connection.awaited = handler(line);
        settle(connection);
    }
    if (connection.output.empty() && !connection.awaited &&
        connection.input.size() > kMaximumLineBytes) {
        endWith(connection, "a line of more than " + std::to_string(kMaximumLineBytes) + " bytes");
        flush(connection);
    }
}

void ControlServer::flush(Connection& connection) {
    if (!connection.output.empty()) {
        const auto sent = sendSome(connection.descriptor, connection.output);
        if (!sent) {
            connection.descriptor = Descriptor();
            return;
        }
        connection.output.erase(0, *sent);
        sentBytes += *sent;
    }
    if (connection.ending && connection.output.empty()) {
        connection.descriptor = Descriptor();
    }
}

void ControlServer::endWith(Connection& connection, const std::string& error) {
    OrderedJson json = OrderedJson::object();
    json["error"] = error;
    connection.output = printJson(json) + "\n";
    connection.ending = true;
}

}  // namespace ponmgr::dbman
