#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "sim/ControlCommand.h"
#include "sim/OptionValues.h"
#include "sim/Options.h"

namespace ponmgr::sim {

/// What a mistaken command line is answered with behind `mark`, where its error lists what exists.
inline Words wordsThere(const Words& mistaken, const std::string& mark = "there are: ",
                        const std::map<std::string, std::string>& options = {}) {
    std::string text;
    try {
        controlCommand({mistaken, "", {}, false, options});
    } catch (const UsageError& error) {
        text = error.what();
    }
    const auto place = text.find(mark);
    EXPECT_NE(place, std::string::npos) << text;
    Words words;
    const std::string separator = ", ";
    for (auto begin = place + mark.size(); begin < text.size();) {
        const auto end = std::min(text.find(separator, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = end + separator.size();
    }
    return words;
}

}  // namespace ponmgr::sim
