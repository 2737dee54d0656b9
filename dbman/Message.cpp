#include "dbman/Message.h"

#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr auto kAction = "action";
constexpr auto kUri = "uri";
constexpr auto kData = "data";
constexpr auto kSet = "set";
constexpr std::size_t kShownActionBytes = 40;

}  // namespace

std::string serializeMessage(const Message& message) {
    OrderedJson data = OrderedJson::object();
    for (const auto& [key, value] : message.data) {
        data[key] = value;
    }
    OrderedJson envelope = OrderedJson::object();
    envelope[kAction] = kSet;
    envelope[kUri] = message.uri;
    envelope[kData] = std::move(data);
    return printJson(envelope);
}

std::string describeMessage(const Message& message) {
    std::string text = message.uri;
    for (const auto& [key, value] : message.data) {
        text.append(" ").append(key).append("=").append(value);
    }
    return text;
}

Notification parseNotification(std::string_view text) {
    Json envelope = parseJson(text);
    if (!envelope.is_object()) {
        throw MalformedMessage("not a JSON object");
    }
    for (const auto* key : {kAction, kUri}) {
        if (!envelope.contains(key) || !envelope[key].is_string()) {
            throw MalformedMessage(std::string("no text \"") + key + "\"");
        }
    }
    const auto action = envelope[kAction].get<std::string>();
    if (action != kSet) {
        throw MalformedMessage("action \"" + printable(action, kShownActionBytes) +
                               "\" instead of \"set\"");
    }
    if (!envelope.contains(kData) || !envelope[kData].is_object()) {
        throw MalformedMessage("no object \"data\"");
    }
    return {envelope[kUri].get<std::string>(), std::move(envelope[kData])};
}

}  // namespace ponmgr::dbman
