#pragma once

#include <string>
#include <utility>

#include "app/Exception.h"

namespace ponmgr::test {

/// What a call throws: the message of the system's Exception, or "nothing". Any other exception
/// goes through and fails the test.
template <typename Call>
std::string messageThrownBy(Call&& call) {
    try {
        std::forward<Call>(call)();
    } catch (const Exception& exception) {
        return exception.getMessage();
    }
    return "nothing";
}

/// The same with the function's name before it and without the line, which moves with the code:
/// "function: message". The text is taken from what(), whose form is thereby checked as well.
template <typename Call>
std::string originThrownBy(Call&& call) {
    try {
        std::forward<Call>(call)();
    } catch (const Exception& exception) {
        const std::string what = exception.what();
        const std::size_t bracket = what.find('[');
        const std::size_t end = what.find("]: ");
        if (bracket == std::string::npos || end == std::string::npos) {
            return "no function and line in: " + what;
        }
        return what.substr(0, bracket) + ": " + what.substr(end + 3);
    }
    return "nothing";
}

}  // namespace ponmgr::test
