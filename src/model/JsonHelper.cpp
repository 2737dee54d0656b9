#include "model/JsonHelper.h"

#include <mutex>

#include "app/Exception.h"
#include "model/Container.h"

namespace ponmgr {

namespace {

constexpr int kLineNotParsed = 30;
constexpr const char* kNoMemory = "Impossible to allocate memory";
constexpr const char* kNotParsed = "Impossible to parse json";

// cJSON notes the place of the last parse error in a variable of the whole process, at every parse.
std::mutex parseMutex;

struct CJsonTextDeleter {
    void operator()(char* text) const { cJSON_free(text); }
};

}  // namespace

JsonPointer JsonHelper::createObject() {
    JsonPointer object(cJSON_CreateObject());
    if (!object) {
        PONMGR_THROW(kNoMemory);
    }
    return object;
}

JsonPointer JsonHelper::createArray() {
    JsonPointer array(cJSON_CreateArray());
    if (!array) {
        PONMGR_THROW(kNoMemory);
    }
    return array;
}

JsonPointer JsonHelper::parse(const char* text, std::size_t length) {
    // The copy ends with a zero that belongs to the parsed range: without one, some releases of
    // cJSON read a byte past the end of a text that breaks off inside a value.
    const std::string terminated(text, length);
    const std::lock_guard lock(parseMutex);
    return JsonPointer(cJSON_ParseWithLength(terminated.c_str(), terminated.size() + 1));
}

JsonPointer JsonHelper::parseJObject(const std::string& text) {
    JsonPointer tree = parse(text.data(), text.size());
    if (!tree) {
        PONMGR_THROW_LINE(kNotParsed, kLineNotParsed);
    }
    return tree;
}

JsonPointer JsonHelper::parseJArray(const std::string& text) {
    return parseJObject(text);
}

std::string JsonHelper::toString(const cJSON* tree, bool unformatted) {
    if (tree == nullptr) {
        return "";
    }
    const std::unique_ptr<char, CJsonTextDeleter> text(unformatted ? cJSON_PrintUnformatted(tree)
                                                                   : cJSON_Print(tree));
    if (!text) {
        PONMGR_THROW(kNoMemory);
    }
    return text.get();
}

std::string JsonHelper::toString(const std::vector<std::unique_ptr<Container>>& list,
                                 bool /*unformatted*/) {
    std::string text = "[";
    const char* separator = "";
    for (const auto& item : list) {
        if (item) {
            text += separator + item->getJsonData(true, nullptr, 0);
            separator = ",";
        }
    }
    return text + "]";
}

void JsonHelper::addToObject(cJSON* object, const std::string& key, JsonPointer item) {
    if (cJSON_AddItemToObject(object, key.c_str(), item.get()) == 0) {
        PONMGR_THROW(kNoMemory);
    }
    static_cast<void>(item.release());
}

void JsonHelper::addToArray(cJSON* array, JsonPointer item) {
    if (cJSON_AddItemToArray(array, item.get()) == 0) {
        PONMGR_THROW(kNoMemory);
    }
    static_cast<void>(item.release());
}

void JsonHelper::addString(cJSON* object, const std::string& key, const std::string& value) {
    addToObject(object, key, JsonPointer(cJSON_CreateString(value.c_str())));
}

}  // namespace ponmgr
