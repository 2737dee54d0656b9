#pragma once

#include <nlohmann/json_fwd.hpp>

namespace ponmgr::dbman {

// For headers that only name JSON; Json.h has the rest.
using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

}  // namespace ponmgr::dbman
