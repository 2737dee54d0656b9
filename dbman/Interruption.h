#pragma once

#include <chrono>
#include <csignal>

#include "dbman/Descriptor.h"

namespace ponmgr::dbman {

/// Makes Ctrl-C, SIGTERM and a change of the window's size wait to be fetched, for the constructing
/// thread and those that it starts while the object lives.
class Interruption {
public:
    /// What has arrived since it was last asked.
    struct Arrived {
        /// SIGINT.
        bool cancel = false;
        /// SIGTERM: everything ends.
        bool end = false;
        /// The window has another size.
        bool resized = false;
    };

    /// Throws Failure when the system has no descriptor left.
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    /// Forgets what was not fetched and puts back what was.
    ~Interruption();

    /// Can be read as soon as something has arrived.
    int descriptor() const { return signalDescriptor.get(); }

    /// Doesn't wait. An `end` stays.
    Arrived take();

    /// Returns when something has arrived, when `limit` is over, or when there is something to read
    /// from `input`; a negative `input` is none.
    Arrived wait(std::chrono::milliseconds limit, int input = -1);

private:
    sigset_t previous{};
    Descriptor signalDescriptor;
    bool ended = false;
};

}  // namespace ponmgr::dbman
