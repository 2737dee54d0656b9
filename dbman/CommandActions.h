#pragma once

#include "dbman/CommandTable.h"

namespace ponmgr::dbman {

// What commands do; see Command::act.

/// Sends the request to the running dbman and shows the answer.
void askAndShow(const Command& command, const Given& given, const Surroundings& surroundings);

/// The same for a message to the daemon: shows what was sent, its values in the order of sending.
void sendAndShow(const Command& command, const Given& given, const Surroundings& surroundings);

/// Shows the last events; with --follow also new ones, until Ctrl-C.
void showEvents(const Command& command, const Given& given, const Surroundings& surroundings);

/// Shows a picture of all cards, again and again on a terminal.
void watchCards(const Command& command, const Given& given, const Surroundings& surroundings);

/// Is the daemon's peer until SIGINT or SIGTERM.
void serveDaemon(const Command& command, const Given& given, const Surroundings& surroundings);

/// Prints the completion script of a shell.
void printCompletion(const Command& command, const Given& given, const Surroundings& surroundings);

}  // namespace ponmgr::dbman
