#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "dbman/CommandSender.h"
#include "dbman/Counters.h"
#include "dbman/Message.h"
#include "dbman/Output.h"

namespace ponmgr::dbman {

/// Sends commands to the daemon, counts them and shows each. May be used on any thread.
class CommandDispatch {
public:
    struct Timing {
        /// How long a daemon that doesn't listen yet is tried for again.
        std::chrono::milliseconds patience{10'000};
        /// How long somebody who asked for a command waits for a daemon that doesn't read.
        std::chrono::milliseconds answerLimit{5'000};
    };

    /// All references outlive the object, and `sender` is stopped before the object ends.
    CommandDispatch(CommandSender& sender, Counters& counters, Output& output, Timing timing);

    /// Returns at once. A message that nobody has taken when the patience is over is shown as lost.
    void sendPatiently(const std::vector<Message>& messages);

    /// Tries each message once and waits for the results. Throws Failure, saying how many and why,
    /// unless the daemon has taken all.
    void sendNow(const std::vector<Message>& messages);

private:
    void post(const Message& message, std::chrono::milliseconds patience,
              const CommandSender::Done& also);

    // Each synchronises itself.
    CommandSender& sender;
    Counters& counters;
    Output& output;
    // Constant after construction.
    const Timing timing;
};

}  // namespace ponmgr::dbman
