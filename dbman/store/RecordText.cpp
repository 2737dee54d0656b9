#include "dbman/store/RecordText.h"

#include "dbman/Errors.h"
#include "dbman/Json.h"

namespace ponmgr::dbman {

namespace {

Json parseOrNull(std::string_view text) {
    try {
        return parseJson(text);
    } catch (const MalformedMessage&) {
        return nullptr;
    }
}

Record recordOf(const Json& json) {
    Record record;
    if (json.is_object()) {
        for (const auto& member : json.items()) {
            if (member.value().is_string()) {
                record[member.key()] = member.value().get<std::string>();
            }
        }
    }
    return record;
}

}  // namespace

std::string printRecord(const Record& record) {
    return printJson(Json(record));
}

Record parseRecord(std::string_view text) {
    return recordOf(parseOrNull(text));
}

std::string printRecords(const std::vector<Record>& records) {
    return printJson(Json(records));
}

std::vector<Record> parseRecords(std::string_view text) {
    std::vector<Record> records;
    const Json json = parseOrNull(text);
    if (json.is_array()) {
        for (const auto& row : json) {
            records.push_back(recordOf(row));
        }
    }
    return records;
}

}  // namespace ponmgr::dbman
