#pragma once

#include <exception>
#include <string>

namespace ponmgr {

/// The one exception of the system. It carries the function and the line that threw it, and is
/// caught only at the edge of a thread's loop body, of a report and of a card operation.
class Exception : public std::exception {
public:
    Exception(std::string text, const char* function, int line);

    /// function + "[" + line + "]: " + message
    const char* what() const noexcept override { return whatText.c_str(); }

    /// The message alone, as it was thrown.
    const std::string& getMessage() const noexcept { return message; }

private:
    std::string whatText;
    std::string message;
};

}  // namespace ponmgr

/// Throws an Exception that carries the calling function and line. Not for use in a lambda, whose
/// __func__ says nothing to a reader of the log.
#define PONMGR_THROW(message) throw ::ponmgr::Exception((message), __func__, __LINE__)

/// The same under the name of another function, for throwing in a lambda.
#define PONMGR_THROW_FROM(message, function) \
    throw ::ponmgr::Exception((message), (function), __LINE__)

/// The same with a line number of its own: operators search their logs for these numbers, so they
/// stay when the code around them moves.
#define PONMGR_THROW_LINE(message, line) throw ::ponmgr::Exception((message), __func__, (line))
