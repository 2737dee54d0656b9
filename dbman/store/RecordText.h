#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dbman/Records.h"

namespace ponmgr::dbman {

// Records as they stand in the database, which people may have edited: what isn't of the form is
// left out.

/// A JSON object of texts.
std::string printRecord(const Record& record);
Record parseRecord(std::string_view text);

/// A JSON array of such objects.
std::string printRecords(const std::vector<Record>& records);
std::vector<Record> parseRecords(std::string_view text);

}  // namespace ponmgr::dbman
