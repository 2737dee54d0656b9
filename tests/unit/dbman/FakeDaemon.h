#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Corvane.h"

namespace ponmgr::dbman::test {

/// Stands in the daemon's place: listens for commands and keeps them.
class FakeDaemon {
public:
    /// Throws std::runtime_error when it can't listen.
    FakeDaemon();
    FakeDaemon(const FakeDaemon&) = delete;
    FakeDaemon& operator=(const FakeDaemon&) = delete;
    ~FakeDaemon();

    /// Waits until `count` commands have arrived; returns all that have arrived by then.
    std::vector<std::string> waitForCommands(std::size_t count) const;

private:
    void run();

    // Used by the thread.
    Corvane socket;
    mutable std::mutex mutex;
    // Guarded by mutex.
    std::vector<std::string> commands;
    std::thread thread;
};

/// Sends one message as the daemon does. Throws std::runtime_error when nobody takes it.
void notify(const std::string& text);

/// A notification's envelope around `data`, a JSON object.
std::string notification(const std::string& uri, const std::string& data);

/// A daemon that listens but never reads: fills its own queue, so that the next send to it blocks.
class DeafDaemon {
public:
    DeafDaemon();

    /// Reads at last: away with what fills the queue, and then `count` commands, which are
    /// returned.
    std::vector<std::string> take(std::size_t count);

private:
    Corvane socket;
    std::size_t fillers = 0;
};

}  // namespace ponmgr::dbman::test
