// The skeleton of the commands, and those that are about dbman as a whole.

#include "dbman/ControlCommands.h"

#include <algorithm>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/RecordJson.h"
#include "dbman/SentAnswer.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownCommandBytes = 60;

/// What `make` returns, or why it can't be made.
std::string lineOf(const std::function<OrderedJson()>& make) {
    OrderedJson result = OrderedJson::object();
    try {
        result = make();
    } catch (const std::exception& error) {
        result = OrderedJson::object();
        result["error"] = error.what();
    }
    return printJson(result);
}

}  // namespace

const std::array<ControlCommands::Entry, ControlCommands::kCommands>& ControlCommands::table() {
    static constexpr std::array<Entry, kCommands> entries = {{
        {"status", &ControlCommands::status},
        {"card list", &ControlCommands::listCards},
        {"send", &ControlCommands::sendRaw},
        {"slot list", &ControlCommands::listSlots},
        {"slot set", &ControlCommands::setSlot},
        {"slot clear", &ControlCommands::clearSlot},
        {"slot enable", &ControlCommands::enableSlot},
        {"slot disable", &ControlCommands::disableSlot},
        {"slot reset", &ControlCommands::resetSlot},
        {"slot announce", &ControlCommands::announce},
        {"port vlan", &ControlCommands::setPortVlan},
        {"port vlan remove", &ControlCommands::removePortVlan},
        {"onu list", &ControlCommands::listOnus},
        {"onu show", &ControlCommands::showOnu},
        {"onu remove", &ControlCommands::removeOnu},
        {"onu reset", &ControlCommands::resetOnu},
        {"onu vlan", &ControlCommands::setOnuVlan},
        {"alarm list", &ControlCommands::listAlarms},
        {"alarm history", &ControlCommands::listAlarmHistory},
        {"optics", &ControlCommands::listOptics},
        {"events", &ControlCommands::listEvents},
    }};
    return entries;
}

ControlCommands::ControlCommands(const Parts& usedParts) : parts(usedParts) {}

ControlAnswer ControlCommands::answer(const std::string& request) {
    std::optional<ControlReply> reply;
    const auto line = lineOf([&] {
        reply = carryOut(parseJson(request));
        return reply->json;
    });
    if (!reply || !reply->sending) {
        return line;
    }
    const auto limit = reply->sending->limit();
    const auto whenSettled = [reply = std::move(*reply)]() -> std::optional<std::string> {
        return reply.sending->isSettled() ? std::optional(lineOf(reply.finish)) : std::nullopt;
    };
    return {whenSettled, limit};
}

ControlReply ControlCommands::carryOut(const Json& request) {
    if (!request.is_object()) {
        throw Failure("a request is an object");
    }
    const auto command = stringMember(request, "command");
    const auto entry = std::find_if(table().begin(), table().end(),
                                    [&](const Entry& row) { return row.command == command; });
    if (entry == table().end()) {
        throw Failure("unknown command \"" + printable(command, kShownCommandBytes) + "\"");
    }
    return (this->*entry->handler)(request);
}

ControlReply ControlCommands::status(const Json&) {
    auto result = parts.counters.toJson();
    result["daemon"] = CommandSender::isDaemonThere() ? "listens" : "not there";
    result["database"] = toJson(parts.store.status());
    return result;
}

ControlReply ControlCommands::listCards(const Json&) {
    return toJson(parts.state.inventory.cards());
}

ControlReply ControlCommands::sendRaw(const Json& request) {
    Message message{parseUri(stringMember(request, "uri")), {}};
    if (!request.contains("data") || !request["data"].is_object()) {
        throw ArgumentError("\"data\" is an object with text values");
    }
    for (const auto& member : request["data"].items()) {
        if (!member.value().is_string()) {
            throw ArgumentError("\"data\" is an object with text values");
        }
        message.data.emplace_back(member.key(), member.value().get<std::string>());
    }
    return send({message});
}

ControlReply ControlCommands::send(const std::vector<Message>& messages) {
    return replyWith(parts.dispatch.sendNow(messages), messages);
}

ControlReply ControlCommands::send(const Message& message,
                                   const CommandDispatch::Effect& whenTaken) {
    return replyWith(parts.dispatch.sendNow(message, whenTaken), {message});
}

ControlReply ControlCommands::replyWith(std::shared_ptr<Sending> sending,
                                        const std::vector<Message>& messages) {
    auto& results = *sending;
    return {std::move(sending), [&results, sent = describeSent(messages)] {
                const auto failure = results.takeFailure();
                if (!failure.empty()) {
                    throw Failure(failure);
                }
                return sent;
            }};
}

ControlReply ControlCommands::sendChange(const std::vector<Message>& messages) {
    parts.store.wake();
    auto sending = parts.dispatch.sendPatientlyAndLook(messages);
    auto& results = *sending;
    return {std::move(sending),
            [&results, messages] { return describeChange(messages, results.takeDeliveries()); }};
}

}  // namespace ponmgr::dbman
