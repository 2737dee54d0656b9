#include "dbman/CommandDispatch.h"

#include <future>
#include <memory>
#include <utility>

#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownMessageBytes = 200;

}  // namespace

CommandDispatch::CommandDispatch(CommandSender& messageSender, Counters& eventCounters,
                                 Output& lineOutput, Timing sendingTiming)
    : sender(messageSender), counters(eventCounters), output(lineOutput), timing(sendingTiming) {}

void CommandDispatch::post(const Message& message, std::chrono::milliseconds patience,
                           const CommandSender::Done& also) {
    const auto shown = printable(describeMessage(message), kShownMessageBytes);
    sender.post(serializeMessage(message), patience, [this, shown, also](const std::string& error) {
        if (error.empty()) {
            counters.countSent();
            output.note("sent " + shown);
        } else {
            counters.countFailed();
            output.warn("lost " + shown + ": " + error);
        }
        if (also) {
            also(error);
        }
    });
}

void CommandDispatch::sendPatiently(const std::vector<Message>& messages) {
    for (const auto& message : messages) {
        post(message, timing.patience, nullptr);
    }
}

void CommandDispatch::sendNow(const std::vector<Message>& messages) {
    std::vector<std::future<std::string>> results;
    for (const auto& message : messages) {
        const auto result = std::make_shared<std::promise<std::string>>();
        results.push_back(result->get_future());
        post(message, std::chrono::milliseconds(0),
             [result](const std::string& error) { result->set_value(error); });
    }
    const auto limit = std::chrono::steady_clock::now() + timing.answerLimit;
    std::size_t failures = 0;
    std::string why;
    for (auto& result : results) {
        const bool settled = result.wait_until(limit) == std::future_status::ready;
        const auto error =
            settled ? result.get() : "the daemon listens but takes no message; it may get it later";
        failures += error.empty() ? 0 : 1;
        why = why.empty() ? error : why;
    }
    if (failures > 0 && messages.size() > 1) {
        why = std::to_string(failures) + " of " + std::to_string(messages.size()) +
              " messages not sent: " + why;
    } else if (failures > 0) {
        why = "not sent: " + why;
    }
    if (failures > 0) {
        throw Failure(why);
    }
}

}  // namespace ponmgr::dbman
