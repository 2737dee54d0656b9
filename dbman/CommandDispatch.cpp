#include "dbman/CommandDispatch.h"

#include <memory>
#include <utility>

#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownMessageBytes = 200;

std::string dataOf(const Message& message) {
    OrderedJson data = OrderedJson::object();
    for (const auto& [key, value] : message.data) {
        data[key] = value;
    }
    return printJson(data);
}

}  // namespace

CommandDispatch::CommandDispatch(CommandSender& messageSender, Counters& eventCounters,
                                 Output& lineOutput, KeepRow keepRow, Timing sendingTiming)
    : sender(messageSender),
      counters(eventCounters),
      output(lineOutput),
      keep(std::move(keepRow)),
      timing(sendingTiming) {}

void CommandDispatch::post(const Message& message, std::chrono::milliseconds patience,
                           const CommandSender::Done& also) {
    const auto shown = printable(describeMessage(message), kShownMessageBytes);
    const CommandRow row{{}, message.uri, dataOf(message), ""};
    const auto settle = [this, shown, row, also](const std::string& error) {
        auto settled = row;
        settled.time = output.now();
        settled.result = error.empty() ? "sent" : error;
        keep(std::move(settled));
        if (error.empty()) {
            counters.countSent();
            output.note(EventKind::command, "sent " + shown);
        } else {
            counters.countFailed();
            output.warn("lost " + shown + ": " + error, EventKind::command);
        }
        if (also) {
            also(error);
        }
    };
    sender.post(serializeMessage(message), patience, settle);
}

void CommandDispatch::sendPatiently(const std::vector<Message>& messages) {
    for (const auto& message : messages) {
        post(message, timing.patience, nullptr);
    }
}

std::vector<std::future<std::string>> CommandDispatch::postAll(const std::vector<Message>& messages,
                                                               std::chrono::milliseconds patience) {
    std::vector<std::future<std::string>> results;
    for (const auto& message : messages) {
        const auto result = std::make_shared<std::promise<std::string>>();
        results.push_back(result->get_future());
        post(message, patience, [result](const std::string& error) { result->set_value(error); });
    }
    return results;
}

bool CommandDispatch::sendPatientlyAndLook(const std::vector<Message>& messages) {
    auto results = postAll(messages, timing.patience);
    const auto limit = std::chrono::steady_clock::now() + timing.firstTryLimit;
    bool taken = true;
    for (auto& result : results) {
        taken =
            taken && result.wait_until(limit) == std::future_status::ready && result.get().empty();
    }
    return taken;
}

void CommandDispatch::sendNow(const std::vector<Message>& messages) {
    auto results = postAll(messages, std::chrono::milliseconds(0));
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
