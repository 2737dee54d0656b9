#pragma once

#include <cjson/cJSON.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace ponmgr {

class Container;

/// Frees a whole cJSON tree.
struct JsonDeleter {
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
using JsonPointer = std::unique_ptr<cJSON, JsonDeleter>;

/// The few cJSON calls that the system uses, with cJSON's null results turned into Exceptions. All
/// functions may be called by any thread at any time. Limits of cJSON: a text ends at an escaped
/// zero character, and bytes that are no UTF-8 pass through as they are.
class JsonHelper {
public:
    /// A new empty object or array. Throws "Impossible to allocate memory".
    static JsonPointer createObject();
    static JsonPointer createArray();

    /// Any JSON value, despite the names; what follows the value is ignored. Throws "Impossible to
    /// parse json".
    static JsonPointer parseJObject(const std::string& text);
    static JsonPointer parseJArray(const std::string& text);

    /// `length` bytes of `text`, which needs no terminating zero; null when it can't be parsed.
    static JsonPointer parse(const char* text, std::size_t length);

    /// The tree's text, compact or indented; empty for a null tree. Throws "Impossible to allocate
    /// memory".
    static std::string toString(const cJSON* tree, bool unformatted);

    /// "[" + the records' compact texts joined by "," + "]", whatever `unformatted` says.
    static std::string toString(const std::vector<std::unique_ptr<Container>>& list,
                                bool unformatted);

    /// Adds `item` to `object` as `key`, or to the end of `array`; the tree takes it over. Throws
    /// "Impossible to allocate memory".
    static void addToObject(cJSON* object, const std::string& key, JsonPointer item);
    static void addToArray(cJSON* array, JsonPointer item);

    /// Adds a string member. Throws "Impossible to allocate memory".
    static void addString(cJSON* object, const std::string& key, const std::string& value);
};

}  // namespace ponmgr
