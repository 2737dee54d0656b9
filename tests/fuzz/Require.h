#pragma once

#include <cstdio>

namespace ponmgr::fuzz {

/// The code under test prints a line a failure; a fuzzer makes millions of them.
inline void silenceOutput() {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::perror("/dev/null");
    }
}

/// Ends the process, for the fuzzer to keep the input, unless `holds`; `what` says what does not.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", what);
        __builtin_trap();
    }
}

}  // namespace ponmgr::fuzz
