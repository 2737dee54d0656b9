#include "dbman/PictureTerminal.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace ponmgr::dbman {

namespace {

// ECMA-48 and what all terminals in use have taken over from xterm.
constexpr std::string_view kOtherScreen = "\x1b[?1049h\x1b[?25l";
constexpr std::string_view kUsualScreen = "\x1b[?25h\x1b[?1049l";
constexpr std::string_view kToTheTop = "\x1b[H";
constexpr std::string_view kClearToLineEnd = "\x1b[K";
constexpr std::string_view kClearBelow = "\x1b[J";

}  // namespace

PictureTerminal::PictureTerminal(int input, int output)
    : keyboard(input), keys(input), screen(output) {
    if (keys >= 0 && tcgetattr(keys, &before) == 0) {
        termios mode = before;
        mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        mode.c_cc[VMIN] = 0;
        mode.c_cc[VTIME] = 0;
        // A process that is stopped here would leave the terminal without lines.
        mode.c_cc[VSUSP] = _POSIX_VDISABLE;
        changed = tcsetattr(keys, TCSADRAIN, &mode) == 0;
    }
    write(std::string(kOtherScreen));
}

PictureTerminal::~PictureTerminal() {
    write(std::string(kUsualScreen));
    if (changed) {
        tcsetattr(keyboard, TCSADRAIN, &before);
    }
}

bool PictureTerminal::show(const std::vector<std::string>& lines) {
    std::string bytes(kToTheTop);
    for (std::size_t index = 0; index < lines.size(); ++index) {
        // No line end behind the last line, which would roll a full window up.
        bytes += (index == 0 ? "" : "\r\n") + lines[index];
        bytes += kClearToLineEnd;
    }
    bytes += kClearBelow;
    return write(bytes);
}

char PictureTerminal::takeKey() {
    pollfd polled{keys, POLLIN, 0};
    if (keys < 0 || poll(&polled, 1, 0) <= 0) {
        return 0;
    }
    char key = 0;
    if (read(keys, &key, 1) != 1) {
        keys = -1;
        return 0;
    }
    return key;
}

bool PictureTerminal::write(const std::string& bytes) {
    std::string_view left = bytes;
    while (!left.empty()) {
        const auto count = ::write(screen, left.data(), left.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        left.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
}

}  // namespace ponmgr::dbman
