#include "dbman/ControlServer.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "dbman/Errors.h"
#include "dbman/Json.h"

namespace ponmgr::dbman {

ControlServer::ControlServer(std::string controlPath, Handler lineHandler, Report errorReport)
    : path(std::move(controlPath)),
      handler(std::move(lineHandler)),
      report(std::move(errorReport)) {}

ControlServer::~ControlServer() {
    stop();
}

void ControlServer::listen() {
    stopEvent = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!stopEvent.isOpen()) {
        throw Failure("can't make an event for the control socket");
    }
    listener = std::make_unique<LocalListener>(path);
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

void ControlServer::run() {
    std::vector<pollfd> polled;
    while (true) {
        // A client that can't be taken stays ready; without a pause poll() would never wait.
        const int listening = isPausing() ? -1 : listener->descriptor();
        polled.assign({{stopEvent.get(), POLLIN, 0}, {listening, POLLIN, 0}});
        for (const auto& connection : connections) {
            // A client that doesn't fetch its answers gets no further ones.
            const bool writes = !connection.output.empty();
            polled.push_back(
                {connection.descriptor.get(), static_cast<short>(writes ? POLLOUT : POLLIN), 0});
        }
        if (poll(polled.data(), polled.size(), pollTimeout()) < 0) {
            continue;
        }
        if (polled[0].revents != 0) {
            return;
        }
        for (std::size_t index = 0; index < connections.size(); ++index) {
            serve(connections[index], polled[index + 2].revents);
        }
        std::erase_if(connections,
                      [](const Connection& connection) { return !connection.descriptor.isOpen(); });
        acceptOrPause();
    }
}

int ControlServer::pollTimeout() const {
    using std::chrono::milliseconds;
    const auto pause = acceptAgain - std::chrono::steady_clock::now();
    return pause.count() > 0 ? static_cast<int>(std::chrono::ceil<milliseconds>(pause).count())
                             : -1;
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
    while (connection.descriptor.isOpen() && connection.output.empty()) {
        const auto end = connection.input.find('\n');
        if (end == std::string::npos) {
            break;
        }
        const auto line = connection.input.substr(0, end);
        connection.input.erase(0, end + 1);
        connection.output = handler(line) + "\n";
        flush(connection);
    }
    if (connection.output.empty() && connection.input.size() > kMaximumLineBytes) {
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
