#include "FuzzedSlot.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Require.h"
#include "ipc/APIData.h"
#include "ipc/IPCWorker.h"
#include "model/JsonHelper.h"
#include "model/OnuLinkList.h"

namespace ponmgr::fuzz {

namespace {

constexpr const char* kSlot = "3";
constexpr const char* kCardReport = "/olt/new";
constexpr const char* kAlarmReport = "/olt/alarm/new";
constexpr const char* kOnuReport = "/onu/new";
constexpr std::array<std::string_view, 4> kReports = {kCardReport, kAlarmReport, kOnuReport,
                                                      "/onu/set/all/offline"};

/// One try that doesn't wait.
constexpr PONCardTiming kTiming{
    .exchange = {.responseTime = std::chrono::milliseconds(0),
                 .clockStep = std::chrono::milliseconds(1),
                 .tries = 1},
    .acceptedLaterPause = std::chrono::milliseconds(0),
    .passPause = std::chrono::milliseconds(0),
};

bool namesTheSlot(const cJSON* record) {
    const cJSON* slot = cJSON_GetObjectItemCaseSensitive(record, "slot_id");
    return cJSON_IsString(slot) != 0 && std::string(slot->valuestring) == kSlot;
}

void requireAlarms(const cJSON* data) {
    const cJSON* rows = cJSON_GetObjectItemCaseSensitive(data, "alarm_list");
    require(cJSON_IsArray(rows) != 0 && rows->child != nullptr, "a report of alarms has alarms");
    for (const cJSON* row = rows->child; row != nullptr; row = row->next) {
        require(namesTheSlot(row), "an alarm names its slot");
    }
}

/// Requires that what is sent to the database manager is a message, and one of those there are.
/// Returns its name.
std::string requireReport(const APIData& report) {
    const std::string printed = report.getJsonProtocol();
    APIData read;
    read.parseRequest(printed.data(), static_cast<int>(printed.size()));
    require(read.getJsonProtocol() == printed, "a report prints the same again");
    require(read.getAction() == "set", "a report has something set");
    require(std::find(kReports.begin(), kReports.end(), read.getUri()) != kReports.end(),
            "a slot has four kinds of report");
    const JsonPointer data = JsonHelper::parseJObject(read.getJsonData());
    if (read.getUri() == kAlarmReport) {
        requireAlarms(data.get());
    } else {
        require(namesTheSlot(data.get()), "a report names its slot");
    }
    return read.getUri();
}

/// How many of the reports that wait have this name; none waits afterwards.
std::size_t takeReports(std::string_view name) {
    std::size_t count = 0;
    while (const auto report = IPCWorker::getInstance()->takeNotification()) {
        count += requireReport(*report) == name ? 1U : 0U;
    }
    return count;
}

}  // namespace

FuzzedSlot::FuzzedSlot(Script& says) : script(says), card(says), slot(kTiming) {
    helper().start(&card, kSlot);
    helper().setOltIpAddress("127.0.1.3");
}

void FuzzedSlot::bringUp() {
    if (script.ended()) {
        return;
    }
    helper().doRequestOltEponMac();
    helper().doRequestNVSEnabled();
    helper().doRequestCtcMode();
    helper().requestHasDomain();
    takeReports(kCardReport);
}

void FuzzedSlot::carryOut(const APIData& message) {
    auto task = std::make_unique<PMTask>();
    task->parseTask(&message);
    if (task->getTask() == "/olt/src_ip") {
        return;  // it opens the shared socket, which here isn't there
    }
    slot.addTask(std::move(task));
    slot.runTaskPass();
    require(slot.getTaskCount() == 0, "a command is carried out once");
    takeReports(kCardReport);
}

std::size_t FuzzedSlot::pass() {
    if (script.ended()) {
        return 0;
    }
    helper().handleAlarms();
    helper().doGetAllOnuKnown(false);
    helper().doGetAllOnuInformation();
    helper().doGetAllOnuQueue();
    const std::size_t reported = provision();
    helper().doGetAllOnuOpticsPower();
    helper().doGetAllOltOpticsPower();
    helper().doClearAllRules(0);
    helper().clearAllUnusedPaths();
    // Of those that came meanwhile.
    helper().handleAlarms();
    helper().doReportAlarmToDBMan();
    takeReports(kCardReport);
    return reported;
}

std::size_t FuzzedSlot::provision() {
    takeReports(kOnuReport);
    helper().doSetAllOnuGigabit();
    const std::size_t reported = takeReports(kOnuReport);
    require(reported <= OnuLinkList::kMostLinks, "a slot has no more ONUs than its list holds");
    return reported;
}

void FuzzedSlot::requireReports() {
    // One of the two is a change.
    helper().setOLTOnlineStatus(false);
    helper().setOLTOnlineStatus(true);
    helper().doReportOLTModule();
    require(takeReports(kCardReport) == 1, "the slot reports its card");
    provision();
}

}  // namespace ponmgr::fuzz
