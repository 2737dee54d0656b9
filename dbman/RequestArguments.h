#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "dbman/Json.h"

namespace ponmgr::dbman {

// Members of a request, checked. A member that isn't there has no value or the default; every
// function throws ArgumentError, naming the value and what is allowed.

/// "slot": the text "1" to "8".
std::optional<int> optionalSlot(const Json& request);

/// "port": the text "0" or "1", returned as it is.
std::optional<std::string> optionalPort(const Json& request);

/// A flag: true or false.
bool flagOf(const Json& request, const std::string& key);

/// A whole number from `first` to `last`.
std::optional<std::int64_t> optionalNumber(const Json& request, const std::string& key,
                                           std::int64_t first, std::int64_t last);

/// "below": a number of dBm from -60 to 20.
std::optional<double> optionalLevel(const Json& request);

/// An IPv4 address as a text; returned in its dotted form.
std::string addressOf(const Json& request, const std::string& key);

/// The same, without a value when it isn't there.
std::optional<std::string> optionalAddress(const Json& request, const std::string& key);

}  // namespace ponmgr::dbman
