#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ponmgr::dbman {

/// A table for people: columns of equal width, separated by two blanks, no blanks at a line's end.
class Table {
public:
    explicit Table(std::vector<std::string> headers);

    /// As many cells as there are headers. Cells are made printable; an empty one is shown as "-".
    void addRow(std::vector<std::string> cells);

    /// The headers and all rows, each with a line end.
    std::string text() const;

private:
    void append(std::vector<std::string> cells);

    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> widths;
};

}  // namespace ponmgr::dbman
