#pragma once

#include <poll.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "dbman/ControlAnswer.h"
#include "dbman/Descriptor.h"
#include "dbman/LocalSocket.h"

namespace ponmgr::dbman {

/// Answers lines at a local socket, a line for a line, on a thread of its own ("dbman-control"). A
/// client may ask any number of lines on one connection. Only our own user and root are answered.
class ControlServer {
public:
    /// Gets a line without its end and returns its answer, or how to get it later; meanwhile
    /// others are answered. Called on the thread, one line at a time; throws nothing.
    using Handler = std::function<ControlAnswer(const std::string& line)>;

    /// Gets why clients can't be taken, once until one can be again. Called on the thread; throws
    /// nothing.
    using Report = std::function<void(const std::string& error)>;

    /// A longer line ends its connection.
    static constexpr std::size_t kMaximumLineBytes = 65536;
    static constexpr std::size_t kMaximumConnections = 32;
    /// How long new clients wait when one couldn't be taken.
    static constexpr std::chrono::milliseconds kAcceptPause{100};
    /// Bytes of answers after which the memory that they took goes back to the system.
    static constexpr std::size_t kLongAnswers = std::size_t{1024} * 1024;

    ControlServer(std::string path, Handler handler, Report report);
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;
    /// Stops.
    ~ControlServer();

    /// From here on clients can connect; they are answered after start(). Throws Failure.
    void listen();

    void start();

    /// Has answers that come later looked for. May be called on any thread once listen() has
    /// returned.
    void wake();

    /// Gives out the answers that are there, closes all connections and removes the path. Waits
    /// for a handler that runs.
    void stop();

private:
    struct Connection {
        Descriptor descriptor;
        std::string input;
        std::string output;
        /// The answer that has to come first. Nobody takes it when the client goes meanwhile; what
        /// was asked for is done by others all the same.
        std::optional<ControlAnswer> awaited;
        /// Nothing more is read; the connection ends when `output` has gone out.
        bool ending = false;
    };

    void run();
    /// How long poll() may wait; -1 for ever.
    int pollTimeout() const;
    std::vector<pollfd> polledDescriptors() const;
    bool isPausing() const { return std::chrono::steady_clock::now() < acceptAgain; }
    void acceptAll();
    void acceptOrPause();
    void serve(Connection& connection, short events);
    void answerLines(Connection& connection);
    /// Puts out an awaited answer that is there.
    void settle(Connection& connection);
    void settleAll();
    void flush(Connection& connection);
    void giveMemoryBack();
    static void endWith(Connection& connection, const std::string& error);

    // Constant after construction.
    const std::string path;
    const Handler handler;
    const Report report;
    // Made by listen(), used by the thread from start() to stop().
    std::unique_ptr<LocalListener> listener;
    std::vector<Connection> connections;
    std::chrono::steady_clock::time_point acceptAgain;
    bool isReported = false;
    // Of answers, since memory was given back.
    std::size_t sentBytes = 0;
    // Readable when the thread is to end; synchronises itself.
    Descriptor stopEvent;
    // Readable when an awaited answer may be there; synchronises itself.
    Descriptor wakeEvent;
    std::thread thread;
};

}  // namespace ponmgr::dbman
