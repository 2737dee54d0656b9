#pragma once

#include <cstddef>
#include <string>

namespace ponmgr::dbman {

/// `text`, which is printable, in at most `columns` characters: what is too long is cut and ends in
/// "...", or is only cut where there is no room for that. 0 columns are no limit.
std::string fitText(const std::string& text, std::size_t columns);

}  // namespace ponmgr::dbman
