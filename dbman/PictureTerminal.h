#pragma once

#include <termios.h>

#include <string>
#include <vector>

namespace ponmgr::dbman {

/// A terminal that shows pictures instead of lines, while the object lives. Owns no descriptor.
class PictureTerminal {
public:
    /// Begins with an empty picture. `input` is where keys come from, -1 for none.
    PictureTerminal(int input, int output);
    PictureTerminal(const PictureTerminal&) = delete;
    PictureTerminal& operator=(const PictureTerminal&) = delete;
    /// The terminal is as it was.
    ~PictureTerminal();

    /// Shows `lines` in place of what was there. False: the terminal is gone.
    bool show(const std::vector<std::string>& lines);

    /// The next key that was pressed, 0 when there is none or no keys come. Doesn't wait.
    char takeKey();

    /// Where keys come from; -1 also after the terminal said that no more will.
    int input() const { return keys; }

private:
    bool write(const std::string& bytes);

    const int keyboard;
    /// The keyboard, or -1 when it is gone.
    int keys;
    const int screen;
    bool changed = false;
    termios before{};
};

}  // namespace ponmgr::dbman
