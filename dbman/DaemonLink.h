#pragma once

namespace ponmgr::dbman {

/// Where the daemon's notifications arrive; dbman listens there.
constexpr auto kNotificationPath = "/tmp/pmdbman.ipc";
constexpr int kNotificationLink = 2001;

/// Where the daemon listens for commands.
constexpr auto kCommandPath = "/tmp/dbpman.ipc";
constexpr int kCommandLink = 2010;

}  // namespace ponmgr::dbman
