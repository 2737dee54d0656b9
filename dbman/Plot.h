#pragma once

#include <string>
#include <vector>

#include "dbman/Records.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

/// One reading of a level.
struct LevelSample {
    Time time;
    /// In dBm; finite.
    double level = 0;
};

/// Levels over time as a picture: lines of at most the screen's columns, 80 without a limit, the
/// level's axis at the left and the time's below. A level holds until the next sample. Dots of
/// Braille where the screen has them, else "*". `samples` are in the order of their times and at
/// least one.
std::string plotLevels(const std::vector<LevelSample>& samples, const Screen& screen);

}  // namespace ponmgr::dbman
