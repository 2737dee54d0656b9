#pragma once

#include <string>

#include "dbman/Json.h"

namespace ponmgr::dbman {

class Given;
struct Surroundings;

/// The path that was given, or where the run's dbman listens.
std::string controlPath(const Given& given, const Surroundings& surroundings);

/// An answer that is no error, as it came and as it is understood.
struct Answer {
    std::string text;
    Json json;
};

/// Asks the dbman at `path`. Ctrl-C ends the wait where `surroundings` has an interruption. Throws
/// NotRunning, and Failure with the error that it answers.
Answer ask(const std::string& path, const Json& request, const Surroundings& surroundings);

}  // namespace ponmgr::dbman
