#include "dbman/Table.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "dbman/FitText.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kMaximumCellBytes = 60;
constexpr std::size_t kGap = 2;
// A cell is cut to this much before a column is left out, and to less only when none may be.
constexpr std::size_t kComfortableWidth = 17;
constexpr std::size_t kLeastWidth = 4;

std::vector<Table::Column> columnsOf(const std::vector<std::string>& headers) {
    std::vector<Table::Column> columns;
    columns.reserve(headers.size());
    for (const auto& header : headers) {
        columns.push_back({header, 0});
    }
    return columns;
}

std::size_t totalOf(const std::vector<std::size_t>& fitted) {
    return std::accumulate(fitted.begin(), fitted.end(), kGap * (fitted.size() - 1));
}

}  // namespace

Table::Table(std::vector<Column> tableColumns) : columns(std::move(tableColumns)) {
    for (const auto& column : columns) {
        widths.push_back(countCharacters(column.header));
    }
}

Table::Table(const std::vector<std::string>& headers) : Table(columnsOf(headers)) {}

void Table::addRow(std::vector<std::string> cells) {
    cells.resize(columns.size());
    for (std::size_t index = 0; index < cells.size(); ++index) {
        cells[index] = orDash(printable(cells[index], kMaximumCellBytes));
        widths[index] = std::max(widths[index], countCharacters(cells[index]));
    }
    rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::fit(const Shown& shown, std::size_t width,
                                    std::size_t least) const {
    std::vector<std::size_t> fitted;
    for (const auto index : shown) {
        fitted.push_back(widths[index]);
    }
    while (width > 0 && totalOf(fitted) > width) {
        const auto widest = std::max_element(fitted.begin(), fitted.end());
        if (*widest <= least) {
            break;
        }
        --*widest;
    }
    return fitted;
}

std::string Table::line(const std::vector<std::string>& cells, const Shown& shown,
                        const std::vector<std::size_t>& fitted) const {
    std::string result;
    for (std::size_t place = 0; place < shown.size(); ++place) {
        const auto cell = fitText(cells[shown[place]], fitted[place]);
        result += cell + std::string(fitted[place] - countCharacters(cell) + kGap, ' ');
    }
    result.erase(result.find_last_not_of(' ') + 1);
    return result;
}

std::string Table::text(std::size_t width) const {
    Shown shown(columns.size());
    std::iota(shown.begin(), shown.end(), std::size_t{0});
    const auto lower = [this](std::size_t left, std::size_t right) {
        return columns[left].rank < columns[right].rank;
    };
    std::string leftOut;
    auto fitted = fit(shown, width, kComfortableWidth);
    while (width > 0 && totalOf(fitted) > width) {
        const auto highest = std::max_element(shown.begin(), shown.end(), lower);
        if (columns[*highest].rank == 0) {
            break;
        }
        leftOut += (leftOut.empty() ? "" : ", ") + columns[*highest].header;
        shown.erase(highest);
        fitted = fit(shown, width, kComfortableWidth);
    }
    fitted = fit(shown, width, totalOf(fitted) > width ? kLeastWidth : kComfortableWidth);
    std::vector<std::string> headers;
    for (const auto& column : columns) {
        headers.push_back(column.header);
    }
    std::string result = fitText(line(headers, shown, fitted), width) + "\n";
    for (const auto& row : rows) {
        result += fitText(line(row, shown, fitted), width) + "\n";
    }
    return leftOut.empty() ? result
                           : result + fitText("(no room for: " + leftOut + ")", width) + "\n";
}

}  // namespace ponmgr::dbman
