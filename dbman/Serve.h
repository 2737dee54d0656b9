#pragma once

#include <ostream>
#include <string>

#include "dbman/CommandDispatch.h"
#include "dbman/CommandSender.h"
#include "dbman/ControlCommands.h"
#include "dbman/ControlServer.h"
#include "dbman/Counters.h"
#include "dbman/CurrentState.h"
#include "dbman/EventLog.h"
#include "dbman/NotificationReceiver.h"
#include "dbman/Notifications.h"
#include "dbman/Output.h"
#include "dbman/SlotConfiguration.h"
#include "dbman/store/Store.h"

namespace ponmgr::dbman {

struct ServeOptions {
    /// For a database that has just been made; one that was used before has its own.
    SlotConfiguration configuration;
    /// Somebody has given them, and wants to know when they don't count.
    bool areSlotsGiven = false;
    Store::Options store;
    std::string controlPath;
    /// Shows only what goes wrong.
    bool quiet = false;
    /// Tells a daemon that runs already the slots' addresses, so that it reports everything anew.
    bool announces = true;
    CommandDispatch::Timing commandTiming;
    CommandSender::Timing senderTiming;
};

/// The running dbman: the daemon's peer and its own clients' server. Used by one thread.
class Server {
public:
    /// `stream` outlives the object.
    Server(ServeOptions options, std::ostream& stream);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    /// Stops.
    ~Server();

    /// Listens for the daemon and for clients, takes over what the database holds, says so with the
    /// line "dbman ready: ...", and starts to work. Throws Failure when one of these isn't
    /// possible.
    void start();

    /// Ends all threads, removes both sockets and closes the database. False when nobody reads the
    /// stream, in which a thread is left then; see Output::stop().
    bool stop();

private:
    void reportLinkError(const std::string& error);
    void loadState();
    bool isDaemonToBeAsked() const;
    std::string readyLine() const;

    // Constant after construction.
    const ServeOptions options;
    // Each synchronises itself. In the order in which they need one another.
    Output output;
    Counters counters;
    CurrentState state;
    EventLog events;
    Store store;
    CommandSender sender;
    CommandDispatch dispatch;
    Notifications notifications;
    ControlCommands commands;
    NotificationReceiver receiver;
    ControlServer control;
    // Set by start().
    bool areSlotsIgnored = false;
};

/// Runs a Server until SIGINT or SIGTERM. Throws Failure when it can't start. Ends the process,
/// with status 0, when nobody reads the stream.
void serveUntilSignal(const ServeOptions& options, std::ostream& stream);

}  // namespace ponmgr::dbman
