#include "dbman/CommandDispatch.h"

#include <memory>
#include <utility>

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
                                 Output& lineOutput, KeepRow keepRow, Settled tellSettled,
                                 Timing sendingTiming)
    : sender(messageSender),
      counters(eventCounters),
      output(lineOutput),
      keep(std::move(keepRow)),
      settled(std::move(tellSettled)),
      timing(sendingTiming) {}

void CommandDispatch::post(const Message& message, std::chrono::milliseconds patience,
                           const Effect& whenTaken, const CommandSender::Done& also,
                           const CommandSender::Done& whenTriedAgain) {
    const auto shown = printable(describeMessage(message), kShownMessageBytes);
    const CommandRow row{{}, message.uri, dataOf(message), ""};
    const auto settle = [this, shown, row, whenTaken, also](const std::string& error) {
        if (error.empty() && whenTaken) {
            whenTaken();
        }
        auto kept = row;
        kept.time = output.now();
        kept.result = error.empty() ? "sent" : error;
        keep(std::move(kept));
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
    sender.post(serializeMessage(message), patience, settle, whenTriedAgain);
}

void CommandDispatch::sendPatiently(const std::vector<Message>& messages) {
    for (const auto& message : messages) {
        post(message, timing.patience, nullptr, nullptr);
    }
}

std::shared_ptr<Sending> CommandDispatch::postAll(const std::vector<Message>& messages,
                                                  std::chrono::milliseconds patience,
                                                  const Effect& whenTaken) {
    std::vector<Sending::News> news;
    const auto teller = [this](std::future<std::string>& told) {
        const auto promise = std::make_shared<std::promise<std::string>>();
        told = promise->get_future();
        return [this, promise](const std::string& error) {
            promise->set_value(error);
            settled();
        };
    };
    for (const auto& message : messages) {
        auto& own = news.emplace_back();
        post(message, patience, whenTaken, teller(own.result), teller(own.failedTry));
    }
    return std::make_shared<Sending>(std::move(news), Sending::Clock::now() + timing.answerLimit);
}

std::shared_ptr<Sending> CommandDispatch::sendPatientlyAndLook(
    const std::vector<Message>& messages) {
    return postAll(messages, timing.patience);
}

std::shared_ptr<Sending> CommandDispatch::sendNow(const std::vector<Message>& messages) {
    return postAll(messages, std::chrono::milliseconds(0));
}

std::shared_ptr<Sending> CommandDispatch::sendNow(const Message& message, const Effect& whenTaken) {
    return postAll({message}, std::chrono::milliseconds(0), whenTaken);
}

}  // namespace ponmgr::dbman
