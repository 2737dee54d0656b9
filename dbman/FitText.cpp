#include "dbman/FitText.h"

#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kDots = 3;

/// The first `count` characters.
std::string firstCharacters(const std::string& text, std::size_t count) {
    std::size_t end = 0;
    while (end < text.size() && countCharacters(text.substr(0, end + 1)) <= count) {
        ++end;
    }
    return text.substr(0, end);
}

}  // namespace

std::string fitText(const std::string& text, std::size_t columns) {
    if (columns == 0 || countCharacters(text) <= columns) {
        return text;
    }
    return columns <= kDots ? firstCharacters(text, columns)
                            : firstCharacters(text, columns - kDots) + std::string(kDots, '.');
}

}  // namespace ponmgr::dbman
