#include "ipc/APIData.h"

#include <algorithm>

#include "app/Exception.h"

namespace ponmgr {

namespace {

constexpr const char* kAction = "action";
constexpr const char* kUri = "uri";
constexpr const char* kData = "data";
constexpr const char* kErr = "err";
/// The only action that the daemon writes, and the only one whose data it reads.
constexpr const char* kSet = "set";

/// The member of any type; its name is found whatever its case.
const cJSON* getObjectValue(const cJSON* object, const std::string& key) {
    const cJSON* member = cJSON_GetObjectItem(object, key.c_str());
    if (member == nullptr) {
        PONMGR_THROW("Key '" + key + "' not found");
    }
    return member;
}

std::string getStringValue(const cJSON* object, const std::string& key) {
    const cJSON* member = cJSON_GetObjectItem(object, key.c_str());
    if (cJSON_IsString(member) == 0) {
        PONMGR_THROW("Key '" + key + "' not found");
    }
    return member->valuestring;
}

}  // namespace

APIData::~APIData() = default;

void APIData::createRequest(const std::string& newAction, const std::string& newUri,
                            const std::string& data) {
    clearAll();
    const JsonPointer object = JsonHelper::createObject();
    JsonHelper::addString(object.get(), kAction, newAction);
    JsonHelper::addString(object.get(), kUri, newUri);
    if (!data.empty()) {
        JsonHelper::addToObject(object.get(), kData, JsonHelper::parseJObject(data));
    }
    jsonProtocol = JsonHelper::toString(object.get(), true);
    action = newAction;
    uri = newUri;
    jsonData = data;
}

void APIData::createResponse(const std::string& newErr, const std::string& data) {
    clearAll();
    const JsonPointer object = JsonHelper::createObject();
    if (newErr.empty() && !data.empty()) {
        JsonHelper::addToObject(object.get(), kData, JsonHelper::parseJObject(data));
    }
    JsonHelper::addString(object.get(), kErr, newErr);
    jsonProtocol = JsonHelper::toString(object.get(), true);
    jsonData = data;
    err = newErr;
}

void APIData::parseRequest(const char* text, int length) {
    const JsonPointer object = parse(text, length, __func__);
    action = getStringValue(object.get(), kAction);
    uri = getStringValue(object.get(), kUri);
    if (action == kSet) {
        jsonData = JsonHelper::toString(getObjectValue(object.get(), kData), true);
    }
    jsonProtocol = JsonHelper::toString(object.get(), true);
}

void APIData::parseResponse(const char* text, int length) {
    const JsonPointer object = parse(text, length, __func__);
    err = getStringValue(object.get(), kErr);
    jsonData = JsonHelper::toString(cJSON_GetObjectItem(object.get(), kData), true);
    jsonProtocol = JsonHelper::toString(object.get(), true);
}

JsonPointer APIData::parse(const char* text, int length, const char* operation) {
    clearAll();
    const auto size = static_cast<std::size_t>(std::max(length, 0));
    JsonPointer object = JsonHelper::parse(text, size);
    if (!object) {
        PONMGR_THROW_FROM("JSON not parsed: " + std::string(text, size), operation);
    }
    return object;
}

void APIData::clearAll() {
    action.clear();
    uri.clear();
    jsonData.clear();
    jsonProtocol.clear();
    err.clear();
}

std::string APIData::dump() const {
    return "action: " + action + "\nuri: " + uri + "\njsonData: " + jsonData +
           "\njsonProtocol: " + jsonProtocol + "\nerr: " + err + "\n-----------------\n";
}

std::unique_ptr<APIData> APIData::clone() const {
    auto copy = std::make_unique<APIData>();
    copy->action = action;
    copy->uri = uri;
    copy->jsonData = jsonData;
    copy->jsonProtocol = jsonProtocol;
    copy->err = err;
    return copy;
}

}  // namespace ponmgr
