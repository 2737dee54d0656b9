#pragma once

#include <stdexcept>

namespace ponmgr::dbman {

/// A value that somebody gave isn't allowed; the text names the value and what is allowed.
class ArgumentError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Something that was asked for was refused or could not be done; the text says why.
class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// No dbman answers at the control socket.
class NotRunning : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Ctrl-C or SIGTERM ended the wait for an answer.
class Cancelled : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A message from the daemon that can't be understood; the text says what is wrong with it.
class MalformedMessage : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace ponmgr::dbman
