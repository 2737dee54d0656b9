#include "dbman/Json.h"

#include "dbman/Errors.h"

namespace ponmgr::dbman {

Json parseJson(std::string_view text) {
    bool tooDeep = false;
    const auto keepShallow = [&tooDeep](int outerLevels, Json::parse_event_t event, Json&) {
        const bool opens =
            event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
        tooDeep = tooDeep || (opens && outerLevels >= kMaximumJsonDepth);
        return !tooDeep;
    };
    Json json = Json::parse(text.begin(), text.end(), keepShallow, false);
    if (tooDeep) {
        throw MalformedMessage("nested deeper than " + std::to_string(kMaximumJsonDepth) +
                               " levels");
    }
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
