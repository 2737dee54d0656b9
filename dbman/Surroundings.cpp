#include "dbman/Surroundings.h"

#include <sys/ioctl.h>

namespace ponmgr::dbman {

namespace {

// What a terminal has that doesn't say its size.
constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kUsualRows = 24;

}  // namespace

Screen screenOf(const Surroundings& surroundings) {
    Screen screen;
    screen.unicode = surroundings.unicode;
    if (surroundings.output < 0) {
        return screen;
    }
    winsize window{};
    const bool known = ioctl(surroundings.output, TIOCGWINSZ, &window) == 0;
    screen.columns = known && window.ws_col > 0 ? window.ws_col : kUsualColumns;
    screen.rows = known && window.ws_row > 0 ? window.ws_row : kUsualRows;
    return screen;
}

}  // namespace ponmgr::dbman
