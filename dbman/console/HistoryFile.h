#pragma once

#include <histedit.h>

#include <memory>
#include <string>

namespace ponmgr::dbman {

/// The last 1000 different lines of the console, kept in a file that only its user may read.
/// Trouble with the file is no trouble for the console: the lines are then kept in memory only.
class HistoryFile {
public:
    /// Reads what the file has; an empty path is no file.
    explicit HistoryFile(std::string path);

    /// Adds a line, and writes the file with its folders.
    void add(const std::string& line);

    /// The library's view of it, owned by the object.
    History* get() const { return lines.get(); }

private:
    struct End {
        void operator()(History* history) const { history_end(history); }
    };

    const std::string path;
    std::unique_ptr<History, End> lines;
};

}  // namespace ponmgr::dbman
