#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ponmgr::dbman {

/// A line, split into words as a shell splits it: at blanks, except in '...' and "..." and behind a
/// backslash. Nothing else means anything.
struct ShellWords {
    std::vector<std::string> words;
    /// The line ends inside quotes or behind a backslash; the last word is what there is of it.
    bool unfinished = false;
    /// The line's end belongs to the last word: no blank follows it.
    bool endsInWord = false;
    /// Where the last word begins in the line.
    std::size_t lastBegin = 0;
};

ShellWords splitShellWords(std::string_view line);

}  // namespace ponmgr::dbman
