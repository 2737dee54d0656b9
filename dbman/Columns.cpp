#include "dbman/Columns.h"

#include <utility>
#include <vector>

#include "dbman/Table.h"

namespace ponmgr::dbman {

std::string textOf(const Json& item, const char* key) {
    const auto found = item.find(key);
    if (found == item.end() || found->is_null()) {
        return "";
    }
    return found->is_string() ? found->get<std::string>() : printJson(*found);
}

Json arrayOf(const Json& item, const char* key) {
    const auto found = item.find(key);
    return found != item.end() && found->is_array() ? *found : Json::array();
}

Json objectOf(const Json& item, const char* key) {
    const auto found = item.find(key);
    return found != item.end() && found->is_object() ? *found : Json::object();
}

bool isFromBeforeRestart(const Json& item) {
    return !textOf(item, "last_report").empty() && textOf(item, "reported_since_start") == "false";
}

std::string cellOf(const Json& item, const Column& column) {
    auto value = textOf(item, column.key);
    if (column.isBoolean && (value == "1" || value == "0")) {
        return value == "1" ? "yes" : "no";
    }
    if (column.isReportTime && isFromBeforeRestart(item)) {
        value += kBeforeRestart;
    }
    return value;
}

std::string viewList(const Json& list, std::span<const Column> columns, const Screen& screen) {
    std::vector<Table::Column> headers;
    for (const auto& column : columns) {
        headers.push_back({column.header, column.rank});
    }
    Table table(std::move(headers));
    if (list.is_array()) {
        for (const auto& item : list) {
            std::vector<std::string> cells;
            for (const auto& column : columns) {
                cells.push_back(cellOf(item, column));
            }
            table.addRow(std::move(cells));
        }
    }
    return table.text(screen.columns);
}

}  // namespace ponmgr::dbman
