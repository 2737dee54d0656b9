#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ponmgr::dbman {

/// A table for people: columns of equal width, separated by two blanks, no blanks at a line's end.
class Table {
public:
    struct Column {
        std::string header;
        /// 0: is always there. The higher it is, the earlier the column is left out of a table that
        /// is too wide.
        int rank = 0;
    };

    explicit Table(std::vector<Column> columns);
    /// Columns that are always there.
    explicit Table(const std::vector<std::string>& headers);

    /// As many cells as there are columns. Cells are made printable; an empty one is shown as "-".
    void addRow(std::vector<std::string> cells);

    /// The headers and all rows, each with a line end and of at most `width` characters; 0 is no
    /// limit. Long cells are cut, then columns are left out; a last line names those.
    std::string text(std::size_t width = 0) const;

private:
    using Shown = std::vector<std::size_t>;

    /// Widths of the columns that are shown, cut down to fit, but not below `least`.
    std::vector<std::size_t> fit(const Shown& shown, std::size_t width, std::size_t least) const;
    std::string line(const std::vector<std::string>& cells, const Shown& shown,
                     const std::vector<std::size_t>& fitted) const;

    const std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
    /// Of each column's longest cell.
    std::vector<std::size_t> widths;
};

}  // namespace ponmgr::dbman
