#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ponmgr::dbman {

/// The MAC addresses of all known ONUs; asked only where one may stand.
using MacAddressSource = std::function<std::vector<std::string>()>;

/// What may stand behind the words `before` and begins with `partial`, made from the table of the
/// commands. `first` are further words that a line may begin with.
std::vector<std::string> suggestWords(const std::vector<std::string>& before,
                                      const std::string& partial,
                                      const std::vector<std::string>& first,
                                      const MacAddressSource& macAddresses);

/// What all of `words` begin with.
std::string commonBeginning(const std::vector<std::string>& words);

}  // namespace ponmgr::dbman
