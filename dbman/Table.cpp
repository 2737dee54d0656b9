#include "dbman/Table.h"

#include <algorithm>
#include <utility>

#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kMaximumCellBytes = 60;

}  // namespace

Table::Table(std::vector<std::string> headers) : widths(headers.size()) {
    append(std::move(headers));
}

void Table::addRow(std::vector<std::string> cells) {
    cells.resize(widths.size());
    for (auto& cell : cells) {
        cell = orDash(printable(cell, kMaximumCellBytes));
    }
    append(std::move(cells));
}

void Table::append(std::vector<std::string> cells) {
    for (std::size_t column = 0; column < cells.size(); ++column) {
        widths[column] = std::max(widths[column], countCharacters(cells[column]));
    }
    rows.push_back(std::move(cells));
}

std::string Table::text() const {
    std::string result;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const auto padding = widths[column] - countCharacters(row[column]) + 2;
            line += row[column] + std::string(padding, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + "\n";
    }
    return result;
}

}  // namespace ponmgr::dbman
