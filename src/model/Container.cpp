#include "model/Container.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "app/Exception.h"
#include "app/LogLine.h"

namespace ponmgr {

namespace {

constexpr int kLineNestedFailure = 82;
constexpr int kLineGetValue = 97;
constexpr int kLineSetValue = 114;
constexpr int kLineListToObject = 122;
constexpr int kLineObjectToList = 130;
constexpr int kLineGetList = 157;

std::string notFound(std::string_view key) {
    return "Key '" + std::string(key) + "' not found";
}

}  // namespace

Container::Container() {
    values["id"] = "0";
}

Container::~Container() = default;

bool Container::hasKey(std::string_view key) const {
    return values.contains(key);
}

std::string Container::getValue(std::string_view key) const {
    const std::shared_lock guard(lock);
    const auto found = values.find(key);
    if (found == values.end()) {
        PONMGR_THROW_LINE(notFound(key), kLineGetValue);
    }
    return found->second;
}

bool Container::hasText(std::string_view key) const {
    const std::shared_lock guard(lock);
    const auto found = values.find(key);
    return found != values.end() && !found->second.empty();
}

void Container::setValue(std::string_view key, std::string_view value, bool mustExist) {
    const auto found = values.find(key);
    if (found == values.end()) {
        if (mustExist) {
            PONMGR_THROW_LINE(notFound(key), kLineSetValue);
        }
        return;
    }
    {
        const std::unique_lock guard(lock);
        if (found->second == value) {
            return;
        }
        found->second = value;
    }
    hasModified = true;
}

void Container::setNewValue(std::string_view key, std::string value) {
    if (lists.contains(key)) {
        PONMGR_THROW_LINE("Can't convert list '" + std::string(key) + "' to a object",
                          kLineListToObject);
    }
    const auto place = values.lower_bound(key);
    if (place != values.end() && place->first == key) {
        place->second = std::move(value);
    } else {
        values.emplace_hint(place, key, std::move(value));
    }
}

unsigned long Container::getId() const {
    return std::strtoul(getValue("id").c_str(), nullptr, 0);
}

void Container::setId(unsigned long id) {
    setValue("id", std::to_string(id), false);
}

bool Container::getHasModified() {
    return hasModified;
}

void Container::clearHasModified() {
    hasModified = false;
}

bool Container::hasList(std::string_view name) const {
    return lists.contains(name);
}

std::size_t Container::getListSize(std::string_view name) const {
    const auto found = lists.find(name);
    return found == lists.end() ? 0 : found->second.size();
}

Container::List& Container::getList(std::string_view name) {
    const auto found = lists.find(name);
    if (found == lists.end()) {
        PONMGR_THROW_LINE(notFound(name), kLineGetList);
    }
    return found->second;
}

void Container::addItemToList(std::string_view name, std::unique_ptr<Container> item) {
    if (values.contains(name)) {
        PONMGR_THROW_LINE("Can't convert object '" + std::string(name) + "' to a list",
                          kLineObjectToList);
    }
    listToFill(name).push_back(std::move(item));
}

std::unique_ptr<Container> Container::takeItemFromList(std::string_view name, std::size_t index) {
    if (index >= getListSize(name)) {
        return nullptr;
    }
    List& list = getList(name);
    std::unique_ptr<Container> item = std::move(list[index]);
    list.erase(list.begin() + static_cast<List::difference_type>(index));
    return item;
}

void Container::clearList(std::string_view name) {
    listToFill(name).clear();
}

Container::List& Container::listToFill(std::string_view name) {
    const auto found = lists.find(name);
    return found != lists.end() ? found->second : lists.emplace(name, List()).first->second;
}

void Container::clear() {
    // Only the read lock: a thread that is in the middle of reading this record may clear it.
    // That is safe because a record is cleared by its owner alone, when no other thread uses it.
    const std::shared_lock guard(lock);
    lists.clear();
    values.clear();
    values["id"] = "0";
}

std::string Container::getJsonData(bool unformatted, const std::string* keys, std::size_t count) {
    const JsonPointer object = JsonHelper::createObject();
    const std::shared_lock guard(lock);
    if (keys == nullptr) {
        for (const auto& [key, value] : values) {
            JsonHelper::addString(object.get(), key, value);
        }
    } else {
        for (std::size_t i = 0; i < count; i++) {
            JsonHelper::addString(object.get(), keys[i], getValue(keys[i]));
        }
    }
    addListsTo(object.get());
    return JsonHelper::toString(object.get(), unformatted);
}

void Container::addListsTo(cJSON* object) {
    for (const auto& [name, list] : lists) {
        JsonPointer array = JsonHelper::createArray();
        for (const auto& item : list) {
            if (item) {
                JsonHelper::addToArray(
                    array.get(), JsonHelper::parseJObject(item->getJsonData(true, nullptr, 0)));
            }
        }
        JsonHelper::addToObject(object, name, std::move(array));
    }
}

std::string Container::getJsonFile() {
    return getJsonData(true, nullptr, 0);
}

bool Container::setJsonData(const std::string& text, bool takeId) {
    const JsonPointer object = JsonHelper::parseJObject(text);
    return setcJsonData(object.get(), takeId);
}

bool Container::setcJsonData(const cJSON* object, bool takeId) {
    if (cJSON_IsObject(object) == 0) {
        return false;
    }
    std::string failure;
    try {
        return updateFrom(object, takeId);
    } catch (const Exception& exception) {
        failure = exception.what();
    } catch (...) {
        printUnknownError(__func__);
        failure = "Unknown Error at Container::setcJsonData";
    }
    PONMGR_THROW_LINE(failure, kLineNestedFailure);
}

bool Container::updateFrom(const cJSON* object, bool takeId) {
    const std::unique_lock guard(lock);
    bool matched = false;
    for (const cJSON* member = object->child; member != nullptr; member = member->next) {
        if (cJSON_IsString(member) != 0) {
            matched |= updateValue(member, takeId);
        } else if (cJSON_IsArray(member) != 0) {
            updateList(member);
        }
    }
    return matched;
}

bool Container::updateValue(const cJSON* member, bool takeId) {
    const std::string key = member->string;
    const auto found = values.find(key);
    if (found == values.end() || (key == "id" && !takeId)) {
        return false;
    }
    if (found->second != member->valuestring) {
        found->second = member->valuestring;
        hasModified = true;
    }
    return true;
}

void Container::updateList(const cJSON* member) {
    const auto found = lists.find(member->string);
    if (found == lists.end()) {
        return;
    }
    const cJSON* element = member->child;
    for (const auto& item : found->second) {
        if (element == nullptr) {
            return;
        }
        if (item) {
            item->setcJsonData(element, false);
        }
        element = element->next;
    }
}

}  // namespace ponmgr
