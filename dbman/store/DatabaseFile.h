#pragma once

#include <string>

#include "dbman/Descriptor.h"

namespace ponmgr::dbman {

/// $XDG_STATE_HOME/ponmgr/dbman.db, or the same below ~/.local/state. Its directory is made, mode
/// 0700, when it isn't there. Throws Failure when there is neither variable, or no directory.
std::string defaultDatabaseFile();

/// The database's file, kept for one dbman alone as long as the object lives. It has to outlive all
/// connections to the file: closing it any earlier would drop their locks.
class DatabaseFile {
public:
    /// Makes an empty file, mode 0640, when there is none. Throws Failure when that can't be done
    /// or another dbman has the file.
    explicit DatabaseFile(const std::string& path);

private:
    Descriptor descriptor;
};

}  // namespace ponmgr::dbman
