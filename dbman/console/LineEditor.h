#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dbman/Interruption.h"

namespace ponmgr::dbman {

/// Reads lines that people write, with history and completion. Used by one thread.
class LineEditor {
public:
    /// What the line up to the cursor may go on with.
    struct Completion {
        /// To be put in at the cursor.
        std::string insertion;
        /// Lines to be shown when there is nothing to put in.
        std::vector<std::string> choices;
    };
    using Completer = std::function<Completion(const std::string& line)>;

    enum class End { line, cancelled, closed };
    struct Line {
        End end = End::closed;
        std::string text;
    };

    /// The descriptors, the interruption and the completer's references outlive the object. The
    /// history is read from `historyFile` and kept there; empty: it ends with the object. Throws
    /// Failure when the terminal can't be used.
    LineEditor(int input, int output, Interruption& interruption, const std::string& historyFile,
               Completer completer);
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;
    ~LineEditor();

    /// Shows the prompt and returns what was written, without the line end; or that Ctrl-C
    /// cancelled it; or that nothing more comes, because of Ctrl-D, SIGTERM or a lost terminal.
    Line read();

    /// Adds a line to the history and to its file. A file that can't be written is left alone.
    void remember(const std::string& line);

private:
    class Library;
    std::unique_ptr<Library> library;
};

}  // namespace ponmgr::dbman
