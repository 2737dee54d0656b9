#pragma once

#include <string>

#include "dbman/store/Database.h"

namespace ponmgr::dbman {

/// The number of the newest schema, the one that this dbman works with.
int newestSchema();

/// Brings the tables of `database` up to `version`, step by step; each step happens as a whole or
/// not at all. An empty database begins at 0. Throws Failure, naming `file`, when it is no
/// database, another program's, or of a newer schema than ours; it is as it was then.
void migrate(Database& database, const std::string& file, int version = newestSchema());

}  // namespace ponmgr::dbman
