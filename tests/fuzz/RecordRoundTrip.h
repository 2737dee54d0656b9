#pragma once

#include <cjson/cJSON.h>

#include <string>

#include "Require.h"
#include "model/Container.h"
#include "model/JsonHelper.h"

namespace ponmgr::fuzz {

/// A record printed, parsed into the same record and printed again says the same; and its JSON is
/// one object. A record of bytes that are no UTF-8 passes through as it is.
inline void requireRoundTrip(Container& record) {
    const std::string printed = record.getJsonFile();
    const JsonPointer parsed = JsonHelper::parse(printed.data(), printed.size());
    require(parsed != nullptr, "a printed record can be parsed");
    require(cJSON_IsObject(parsed.get()) != 0, "a record is printed as an object");
    record.setcJsonData(parsed.get(), true);
    require(record.getJsonFile() == printed, "a record that was parsed prints the same again");
}

}  // namespace ponmgr::fuzz
