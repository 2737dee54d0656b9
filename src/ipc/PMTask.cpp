#include "ipc/PMTask.h"

#include "app/Exception.h"
#include "ipc/APIData.h"

namespace ponmgr {

namespace {

constexpr int kLineParseTask = 43;
constexpr const char* kParameters[] = {"slot_id", "mac_address",      "ip_address",
                                       "vlan_id", "discard_untagged", "pon_number"};

}  // namespace

PMTask::PMTask() {
    for (const char* key : kParameters) {
        data.setNewValue(key, "");
    }
}

PMTask::~PMTask() = default;

void PMTask::parseTask(const APIData* request) {
    std::string failure;
    try {
        const std::string text = request->getJsonData();
        if (!text.empty()) {
            task = request->getUri();
            data.setJsonData(text, false);
            jsonProtocol = request->getJsonProtocol();
            return;
        }
        failure = "Data on task can't be null";
    } catch (const Exception& exception) {
        failure = exception.getMessage();
    } catch (...) {
        failure = "Unknown exception on parseTask";
    }
    PONMGR_THROW_LINE(failure, kLineParseTask);
}

std::string PMTask::getDataValue(const std::string& key) const {
    return data.hasKey(key) ? data.getValue(key) : "";
}

}  // namespace ponmgr
