#pragma once

#include <string>
#include <vector>

#include "dbman/Json.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

/// The running dbman's answers, of which the picture is made; empty objects at first.
struct Watched {
    Json cards = Json::object();
    Json onus = Json::object();
    Json alarms = Json::object();
    Json events = Json::object();
    Json status = Json::object();
    /// When they came, for people; empty: never.
    std::string time;
    /// Why there are no newer ones; empty: these are the newest.
    std::string trouble;
};

/// The picture's lines, which fit the screen: a title, one row a card, the last events below.
/// Without a limit of rows there are ten events.
std::vector<std::string> drawWatch(const Watched& watched, const Screen& screen);

/// How many events a picture can show.
std::size_t eventsShown(const Screen& screen);

}  // namespace ponmgr::dbman
