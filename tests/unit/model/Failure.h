#pragma once

#include <string>
#include <utility>

#include "app/Exception.h"

namespace ponmgr::test {

inline constexpr const char* kNothingThrown = "nothing was thrown";

/// The what() of the Exception that `body` throws.
template <typename Body>
std::string whatOf(Body&& body) {
    try {
        std::forward<Body>(body)();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return kNothingThrown;
}

/// The bare message of the Exception that `body` throws.
template <typename Body>
std::string messageOf(Body&& body) {
    try {
        std::forward<Body>(body)();
    } catch (const Exception& exception) {
        return exception.getMessage();
    }
    return kNothingThrown;
}

}  // namespace ponmgr::test
