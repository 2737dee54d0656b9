#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/CardSockets.h"
#include "sim/Chassis.h"
#include "sim/ChassisWire.h"
#include "sim/ControlServer.h"
#include "sim/ControlVerbs.h"
#include "sim/EventLoop.h"
#include "sim/Options.h"
#include "sim/OutputLines.h"

namespace ponmgr::sim {

/// The whole program: every card's socket, the control socket and the loop that serves them.
class Simulator {
public:
    /// Binds everything. Throws std::runtime_error that names what can't be bound or written.
    explicit Simulator(const ServeOptions& options);
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;
    ~Simulator();

    /// "chassis-sim ready: ...", without the line's end.
    std::string readyLine() const;

    /// Serves until SIGINT or SIGTERM, which must be blocked in every thread of the process, or
    /// until a callback stops the loop.
    void run();

    /// Prints a line for people. Of the loop's thread.
    void show(const std::string& line);

    EventLoop& eventLoop() { return loop; }
    ControlVerbs& controlVerbs() { return verbs; }

private:
    void bindCards();
    void receiveAll(Card& card, const UdpEndpoint& socket);
    void addJournalSinks();
    void watchSignals();

    ServeOptions options;
    EventLoop loop;
    OutputLines output;
    Chassis chassis;
    CardSockets sockets;
    std::vector<std::shared_ptr<const UdpEndpoint>> cardSockets;
    ChassisWire wire;
    ControlVerbs verbs;
    std::unique_ptr<ControlServer> control;
    FileDescriptor signals;
    std::vector<std::uint8_t> receiveBuffer;
};

/// SIGINT and SIGTERM are to be taken by run() from now on, SIGPIPE and SIGXFSZ
/// by nobody.
void prepareSignals();

}  // namespace ponmgr::sim
