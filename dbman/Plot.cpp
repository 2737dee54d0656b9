#include "dbman/Plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kMostColumns = 160;
constexpr std::size_t kLeastPlotColumns = 10;
constexpr std::size_t kRows = 10;
// "-25.00 |": the axis with its label.
constexpr std::size_t kLabelColumns = 7;
constexpr std::size_t kAxisColumns = kLabelColumns + 1;
constexpr std::size_t kLabelledRows = 3;
// A level that doesn't change gets this much room above and below.
constexpr double kFlatMargin = 0.5;

/// Dots of a character cell, as Braille numbers them: by column, then by row.
constexpr std::size_t kCellColumns = 2;
constexpr std::size_t kCellRows = 4;
constexpr std::array<std::array<std::uint8_t, kCellRows>, kCellColumns> kBrailleBits = {
    {{0x01, 0x02, 0x04, 0x40}, {0x08, 0x10, 0x20, 0x80}}};

/// A field of dots, row 0 at the top.
class Dots {
public:
    Dots(std::size_t columnCount, std::size_t rowCount)
        : columns(columnCount), rows(rowCount), set(columnCount * rowCount) {}

    std::size_t lastColumn() const { return columns - 1; }
    std::size_t lastRow() const { return rows - 1; }
    bool has(std::size_t column, std::size_t row) const { return set[row * columns + column]; }

    /// All dots between two rows of a column.
    void addColumn(std::size_t column, std::size_t row, std::size_t otherRow) {
        for (auto at = std::min(row, otherRow); at <= std::max(row, otherRow); ++at) {
            set[at * columns + column] = true;
        }
    }

private:
    std::size_t columns;
    std::size_t rows;
    std::vector<bool> set;
};

struct Range {
    double lowest;
    double highest;
};

Range rangeOf(const std::vector<LevelSample>& samples) {
    const auto less = [](const LevelSample& left, const LevelSample& right) {
        return left.level < right.level;
    };
    const auto [lowest, highest] = std::minmax_element(samples.begin(), samples.end(), less);
    const double margin = highest->level > lowest->level ? 0 : kFlatMargin;
    return {lowest->level - margin, highest->level + margin};
}

/// Where `part` of the way from 0 to `last` is.
std::size_t placeOf(double part, std::size_t last) {
    return static_cast<std::size_t>(std::lround(part * static_cast<double>(last)));
}

Dots draw(const std::vector<LevelSample>& samples, Range range, Dots dots) {
    const auto begin = samples.front().time;
    const auto length =
        std::max<double>(1, static_cast<double>((samples.back().time - begin).count()));
    const auto columnOf = [&](const LevelSample& sample) {
        const auto part = static_cast<double>((sample.time - begin).count()) / length;
        return placeOf(std::clamp(part, 0.0, 1.0), dots.lastColumn());
    };
    const auto rowOf = [&](const LevelSample& sample) {
        return placeOf((range.highest - sample.level) / (range.highest - range.lowest),
                       dots.lastRow());
    };
    auto column = columnOf(samples.front());
    auto row = rowOf(samples.front());
    dots.addColumn(column, row, row);
    for (const auto& sample : samples) {
        const auto nextColumn = std::max(column, columnOf(sample));
        for (; column < nextColumn; ++column) {
            dots.addColumn(column, row, row);
        }
        dots.addColumn(column, row, rowOf(sample));
        row = rowOf(sample);
    }
    return dots;
}

/// One character of Braille, U+2800 and its dots.
std::string brailleCell(const Dots& dots, std::size_t column, std::size_t row) {
    unsigned bits = 0;
    for (std::size_t x = 0; x < kCellColumns; ++x) {
        for (std::size_t y = 0; y < kCellRows; ++y) {
            bits |= dots.has(column * kCellColumns + x, row * kCellRows + y)
                        ? kBrailleBits.at(x).at(y)
                        : 0U;
        }
    }
    if (bits == 0) {
        return " ";
    }
    return {'\xE2', static_cast<char>(0xA0U | (bits >> 6U)),
            static_cast<char>(0x80U | (bits & 0x3FU))};
}

std::string levelLabel(double level) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%*.2f", static_cast<int>(kLabelColumns), level);
    return text.data();
}

/// Times below both ends of the axis, "02-03 04:05"; only the first where there is no room.
std::string timeLine(const std::vector<LevelSample>& samples, std::size_t plotColumns) {
    const auto shortTime = [](Time time) {
        auto text = formatUtc(time).substr(5, 11);
        text[5] = ' ';
        return text;
    };
    const auto first = shortTime(samples.front().time);
    const auto last = shortTime(samples.back().time);
    std::string line(kAxisColumns, ' ');
    line += first;
    if (plotColumns > first.size() + last.size()) {
        line += std::string(plotColumns - first.size() - last.size(), ' ') + last;
    }
    return line + "\n";
}

}  // namespace

std::string plotLevels(const std::vector<LevelSample>& samples, const Screen& screen) {
    const auto wanted =
        screen.columns == 0 ? kUsualColumns : std::min(screen.columns, kMostColumns);
    const auto plotColumns = std::max(wanted, kAxisColumns + kLeastPlotColumns) - kAxisColumns;
    const auto range = rangeOf(samples);
    const auto dots =
        screen.unicode ? draw(samples, range, Dots(plotColumns * kCellColumns, kRows * kCellRows))
                       : draw(samples, range, Dots(plotColumns, kRows));
    std::string text;
    for (std::size_t row = 0; row < kRows; ++row) {
        const auto part = static_cast<double>(row) / (kRows - 1);
        const bool labelled = row % kLabelledRows == 0;
        std::string line = labelled
                               ? levelLabel(range.highest - part * (range.highest - range.lowest))
                               : std::string(kLabelColumns, ' ');
        line += screen.unicode ? (labelled ? "┤" : "│") : (labelled ? "+" : "|");
        for (std::size_t column = 0; column < plotColumns; ++column) {
            line += screen.unicode          ? brailleCell(dots, column, row)
                    : dots.has(column, row) ? "*"
                                            : " ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    text += std::string(kLabelColumns, ' ') + (screen.unicode ? "└" : "+");
    for (std::size_t column = 0; column < plotColumns; ++column) {
        text += screen.unicode ? "─" : "-";
    }
    return text + "\n" + timeLine(samples, plotColumns);
}

}  // namespace ponmgr::dbman
