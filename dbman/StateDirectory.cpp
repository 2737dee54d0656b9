#include "dbman/StateDirectory.h"

#include <cstdlib>

namespace ponmgr::dbman {

namespace {

/// The value of an environment variable, empty when there is none.
std::string variable(const char* name) {
    // Nobody changes the environment while dbman runs.
    const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? "" : value;
}

}  // namespace

std::string stateDirectory() {
    const auto state = variable("XDG_STATE_HOME");
    // A relative one has no meaning.
    if (state.starts_with('/')) {
        return state + "/ponmgr";
    }
    const auto home = variable("HOME");
    return home.empty() ? "" : home + "/.local/state/ponmgr";
}

}  // namespace ponmgr::dbman
