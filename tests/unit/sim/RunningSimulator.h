#pragma once

#include <string>
#include <thread>
#include <utility>

#include "sim/FileDescriptor.h"
#include "sim/Simulator.h"

namespace ponmgr::sim {

/// A simulator with two cards that runs in a thread of its own until the object goes.
class RunningSimulator {
public:
    static constexpr const char* kControlPath = "/tmp/sim.ctl";

    explicit RunningSimulator(const ServeOptions& options = defaults());
    ~RunningSimulator();

    /// Slots 1 and 2, no latency, control socket at kControlPath.
    static ServeOptions defaults();

private:
    FileDescriptor stopEvent;
    Simulator simulator;
    std::jthread thread;
};

/// A UDP socket of a manager: asks a card and waits for its datagram.
class Manager {
public:
    Manager();
    void send(const std::string& address, const std::string& hex) const;
    /// The next datagram as hex; "" when none comes in 10 seconds.
    std::string receive() const;

private:
    FileDescriptor socket;
};

}  // namespace ponmgr::sim
