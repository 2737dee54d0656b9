#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "dbman/CommandSender.h"
#include "dbman/Counters.h"
#include "dbman/Message.h"
#include "dbman/Output.h"
#include "dbman/store/HistoryRows.h"

namespace ponmgr::dbman {

/// Sends commands to the daemon, counts them, shows each and has it kept. May be used on any
/// thread.
class CommandDispatch {
public:
    struct Timing {
        /// How long a daemon that doesn't listen yet is tried for again.
        std::chrono::milliseconds patience{10'000};
        /// How long somebody who asked for a command waits for a daemon that doesn't read.
        std::chrono::milliseconds answerLimit{5'000};
        /// How long somebody waits whose messages are tried again anyway.
        std::chrono::milliseconds firstTryLimit{300};
    };

    /// All references outlive the object, and `sender` is stopped before the object ends.
    CommandDispatch(CommandSender& sender, Counters& counters, Output& output, KeepRow keep,
                    Timing timing);

    /// Returns at once. A message that nobody has taken when the patience is over is shown as lost.
    void sendPatiently(const std::vector<Message>& messages);

    /// Tries each message once and waits for the results. Throws Failure, saying how many and why,
    /// unless the daemon has taken all.
    void sendNow(const std::vector<Message>& messages);

    /// Sends them patiently, and waits a moment for the first try. True: the daemon has taken all.
    bool sendPatientlyAndLook(const std::vector<Message>& messages);

private:
    std::vector<std::future<std::string>> postAll(const std::vector<Message>& messages,
                                                  std::chrono::milliseconds patience);
    void post(const Message& message, std::chrono::milliseconds patience,
              const CommandSender::Done& also);

    // Each synchronises itself.
    CommandSender& sender;
    Counters& counters;
    Output& output;
    // Constant after construction.
    const KeepRow keep;
    const Timing timing;
};

}  // namespace ponmgr::dbman
