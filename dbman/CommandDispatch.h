#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "dbman/CommandSender.h"
#include "dbman/Counters.h"
#include "dbman/Message.h"
#include "dbman/Output.h"
#include "dbman/Sending.h"
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
    };

    /// Told on the sending thread when a message has its result; doesn't wait.
    using Settled = std::function<void()>;
    /// What a command changes in dbman itself. Called on the sending thread, so in the order in
    /// which the daemon has taken the messages; throws nothing and doesn't wait.
    using Effect = std::function<void()>;

    /// All references outlive the object, and `sender` is stopped before the object ends.
    CommandDispatch(CommandSender& sender, Counters& counters, Output& output, KeepRow keep,
                    Settled settled, Timing timing);

    /// Returns at once. A message that nobody has taken when the patience is over is shown as lost.
    void sendPatiently(const std::vector<Message>& messages);

    // These return at once too; what is returned is settled by the sending thread.

    /// Tries each message once.
    std::shared_ptr<Sending> sendNow(const std::vector<Message>& messages);

    /// Tries it once. `whenTaken` is called when the daemon has taken it, however late that is and
    /// whether or not somebody still waits; before the message is shown as sent or settled.
    std::shared_ptr<Sending> sendNow(const Message& message, const Effect& whenTaken);

    /// Sends them patiently; settled when the daemon has taken each, or when a try of it has
    /// failed.
    std::shared_ptr<Sending> sendPatientlyAndLook(const std::vector<Message>& messages);

private:
    std::shared_ptr<Sending> postAll(const std::vector<Message>& messages,
                                     std::chrono::milliseconds patience,
                                     const Effect& whenTaken = nullptr);
    void post(const Message& message, std::chrono::milliseconds patience, const Effect& whenTaken,
              const CommandSender::Done& also, const CommandSender::Done& whenTriedAgain = nullptr);

    // Each synchronises itself.
    CommandSender& sender;
    Counters& counters;
    Output& output;
    // Constant after construction.
    const KeepRow keep;
    const Settled settled;
    const Timing timing;
};

}  // namespace ponmgr::dbman
