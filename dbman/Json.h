#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace ponmgr::dbman {

/// JSON that was received. Its look-up is logarithmic, so an object of any number of members costs
/// no more than its length says.
using Json = nlohmann::json;

/// JSON that we write: members stay in the order in which they were put in.
using OrderedJson = nlohmann::ordered_json;

/// How deep received JSON may be nested. Copying and printing of JSON call themselves once a level.
constexpr int kMaximumJsonDepth = 16;

/// Parses one whole JSON text. Throws MalformedMessage when it is none, or is nested too deeply.
Json parseJson(std::string_view text);

/// One line of JSON without white space. Bytes that aren't UTF-8 become the replacement character;
/// never throws because of them.
std::string printJson(const Json& json);
std::string printJson(const OrderedJson& json);

/// The string member `key` of the object `json`, or the empty text when there is no such string.
std::string stringMember(const Json& json, const std::string& key);

}  // namespace ponmgr::dbman
