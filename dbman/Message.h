#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dbman/Json.h"

namespace ponmgr::dbman {

/// Keys and values in the order in which they are written. All values are text.
using Values = std::vector<std::pair<std::string, std::string>>;

/// A command for the daemon.
struct Message {
    std::string uri;
    Values data;
};

/// The command as it goes over the link: {"action":"set","uri":"...","data":{...}}, no white space.
std::string serializeMessage(const Message& message);

/// The command for people: the uri and its values, "/slot/reset slot_id=3".
std::string describeMessage(const Message& message);

/// What the daemon reports: action "set", a uri, and an object as data.
struct Notification {
    std::string uri;
    Json data;
};

/// Reads one message of the daemon. Throws MalformedMessage when anything but the envelope above
/// arrives; members that it doesn't know are ignored.
Notification parseNotification(std::string_view text);

}  // namespace ponmgr::dbman
