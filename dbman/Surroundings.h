#pragma once

#include <chrono>
#include <ostream>
#include <string>

#include "dbman/LocalSocket.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

class Interruption;

/// Where a run of dbman reads and writes. Owns nothing; all that it names outlives the run.
struct Surroundings {
    std::ostream& out;
    std::ostream& err;
    /// The terminal's descriptors for reading and for writing; -1: it is no terminal.
    int input = -1;
    int output = -1;
    /// The locale's characters are UTF-8.
    bool unicode = false;
    /// Where the console keeps its lines; empty: nowhere.
    std::string historyFile = {};
    /// Where dbman listens unless the command line says something else.
    std::string control = kDefaultControlPath;
    /// How often somebody who follows the events asks for new ones.
    std::chrono::milliseconds followInterval{250};
    /// The console's, while a command runs in it; else nullptr.
    Interruption* interruption = nullptr;
};

/// What text has to fit: the terminal's window now, or no limit.
Screen screenOf(const Surroundings& surroundings);

}  // namespace ponmgr::dbman
