#pragma once

#include "dbman/CommandTable.h"

namespace ponmgr::dbman {

/// Checks all that was given for `command` and makes the request of it. Throws ArgumentError.
Json requestOf(const Command& command, const Given& given);

/// Of `port vlan`: either a VLAN or --remove; see Command::finish.
void finishPortVlan(const Given& given, Json& request);

/// Of `send`: puts the values together; see Command::finish.
void finishSend(const Given& given, Json& request);

}  // namespace ponmgr::dbman
