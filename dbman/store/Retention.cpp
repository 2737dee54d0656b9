#include "dbman/store/Retention.h"

#include <algorithm>
#include <string_view>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::array<std::string_view, kAgingTables> kNames = {
    "optics", "alarm-events", "notifications", "commands", "alarms"};

constexpr std::size_t kShownBytes = 60;

[[noreturn]] void refuse(const std::string& text, const std::string& allowed) {
    throw ArgumentError("retention \"" + printable(text, kShownBytes) +
                        "\" is not allowed: " + allowed);
}

}  // namespace

void Retention::set(const std::string& text) {
    const auto separator = text.find('=');
    const auto name = std::string_view(text).substr(0, separator);
    const auto table = std::find(kNames.begin(), kNames.end(), name);
    if (table == kNames.end() || separator == std::string::npos) {
        refuse(text,
               "TABLE=AGE or TABLE=AGE,ROWS, such as optics=30d or optics=30d,500000; a table is "
               "one of " +
                   tableNames());
    }
    const auto value = std::string_view(text).substr(separator + 1);
    const auto comma = value.find(',');
    const auto number = static_cast<std::size_t>(table - kNames.begin());
    auto chosen = kept.at(number);
    chosen.age = parseDuration(value.substr(0, comma));
    if (comma != std::string_view::npos) {
        if (number == static_cast<std::size_t>(AgingTable::alarms)) {
            refuse(text, "alarms=AGE; there are no more of them than memory holds");
        }
        chosen.rows = parseRows(value.substr(comma + 1));
    }
    kept.at(number) = chosen;
}

std::string Retention::tableNames() {
    std::string names;
    for (const auto name : kNames) {
        names.append(names.empty() ? "" : ", ").append(name);
    }
    return names;
}

}  // namespace ponmgr::dbman
