#pragma once

#include <cstddef>

namespace ponmgr::dbman {

/// What a text for people has to fit.
struct Screen {
    /// In characters; 0 when there is no limit, as for a file or a pipe.
    std::size_t columns = 0;
    /// In lines; 0 when there is no limit.
    std::size_t rows = 0;
    /// Characters beyond ASCII are shown rightly.
    bool unicode = false;
};

}  // namespace ponmgr::dbman
