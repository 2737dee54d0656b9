#include "dbman/SentAnswer.h"

#include <algorithm>
#include <string>

namespace ponmgr::dbman {

namespace {

OrderedJson describe(const Message& message) {
    OrderedJson json = OrderedJson::object();
    json["uri"] = message.uri;
    json["data"] = OrderedJson::object();
    for (const auto& [key, value] : message.data) {
        json["data"][key] = value;
    }
    return json;
}

/// Of several messages the one that is worst off counts.
const Delivery& worstOf(const std::vector<Delivery>& deliveries) {
    return *std::max_element(
        deliveries.begin(), deliveries.end(),
        [](const Delivery& one, const Delivery& other) { return one.state < other.state; });
}

std::string noteOf(const Delivery& delivery) {
    const std::string later = "a daemon that starts asks for all addresses";
    switch (delivery.state) {
        case Delivery::State::taken:
            break;
        case Delivery::State::waiting:
            return delivery.why + ", and " + later;
        case Delivery::State::triedAgain:
            return "the daemon hasn't taken it yet; it is tried again for some seconds, and " +
                   later;
        case Delivery::State::failed:
            return "not sent, and not tried again: " + delivery.why + "; it is kept, and " + later;
    }
    return "";
}

}  // namespace

OrderedJson describeSent(const std::vector<Message>& messages) {
    OrderedJson result = OrderedJson::object();
    result["sent"] = OrderedJson::array();
    for (const auto& message : messages) {
        result["sent"].push_back(describe(message));
    }
    return result;
}

OrderedJson describeChange(const std::vector<Message>& messages,
                           const std::vector<Delivery>& deliveries) {
    std::vector<Message> taken;
    for (std::size_t index = 0; index < messages.size(); ++index) {
        if (deliveries[index].state == Delivery::State::taken) {
            taken.push_back(messages[index]);
        }
    }
    auto result = describeSent(taken);
    if (taken.size() < messages.size()) {
        result["stored"] = true;
        result["note"] = noteOf(worstOf(deliveries));
    }
    return result;
}

}  // namespace ponmgr::dbman
