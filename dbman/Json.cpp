#include "dbman/Json.h"

#include "dbman/Errors.h"

namespace ponmgr::dbman {

namespace {

/// Counts brackets outside strings. Texts that aren't JSON have a depth too.
bool isTooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (character == '"') {
            inString = !inString;
        } else if (inString) {
            i += character == '\\' ? 1 : 0;
        } else if (character == '[' || character == '{') {
            if (++depth > kMaximumJsonDepth) {
                return true;
            }
        } else if (character == ']' || character == '}') {
            --depth;
        }
    }
    return false;
}

}  // namespace

Json parseJson(std::string_view text) {
    // Not by a callback of the parser: it would look through a list again behind each of its items.
    if (isTooDeep(text)) {
        throw MalformedMessage("nested deeper than " + std::to_string(kMaximumJsonDepth) +
                               " levels");
    }
    Json json = Json::parse(text.begin(), text.end(), nullptr, false);
    if (json.is_discarded()) {
        throw MalformedMessage("not JSON");
    }
    return json;
}

std::string printJson(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string printJson(const OrderedJson& json) {
    return json.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

std::string stringMember(const Json& json, const std::string& key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace ponmgr::dbman
