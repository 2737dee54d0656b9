#include "app/Manager.h"

#include <memory>
#include <string>
#include <utility>

#include "app/Exception.h"
#include "app/LogLine.h"
#include "ipc/APIData.h"
#include "ipc/IPCWorker.h"
#include "ipc/PMTask.h"
#include "tk/SocketHelper.h"

namespace ponmgr {

namespace {

constexpr int kLineNoMac = 92;
constexpr int kLineHandlerException = 102;
constexpr const char* kNoData = "{}";

}  // namespace

Manager* Manager::getInstance() {
    // Never deleted: its threads use it until the process ends.
    static Manager* const instance = std::make_unique<Manager>().release();
    return instance;
}

Manager::Manager() = default;

Manager::~Manager() = default;

void Manager::start() {
    doReportAllOffline();
    for (int number = 1; number <= static_cast<int>(kSlots); number++) {
        getSlot(number).start(SocketHelper::kAnyInterface, std::to_string(number));
    }
    doReportGetAllSlotIps();
}

void Manager::waitForFinish() {
    for (PONCardTask& slot : slots) {
        slot.waitFinish();
    }
}

void Manager::doReportAllOffline() {
    printFailures(__func__, [] {
        IPCWorker::getInstance()->notify("/olt/set/all/offline", kNoData);
        IPCWorker::getInstance()->notify("/onu/set/all/offline", kNoData);
    });
}

void Manager::doReportGetAllSlotIps() {
    printFailures(__func__, [] { IPCWorker::getInstance()->notify("/olt/get/all/ip", kNoData); });
}

void Manager::handlerApiRequest(APIData* request) {
    try {
        auto task = std::make_unique<PMTask>();
        task->parseTask(request);
        // The whole name, not the beginning: "/slot/onu/remove" and its like pass unchecked and
        // are judged by the card. Commands of the database manager rely on that.
        if (task->getTask() == "/slot/onu/" && task->getDataValue("mac_address").empty()) {
            PONMGR_THROW_LINE("MAC Address not set for task /slot/onu", kLineNoMac);
        }
        const int number = std::stoi(task->getDataValue("slot_id"));
        getSlot(number).addTask(std::move(task));
    } catch (const Exception& exception) {
        printException(__func__, kLineHandlerException, exception);
    }
}

PONCardTask& Manager::getSlot(int number) {
    if (number < 1 || number > static_cast<int>(kSlots)) {
        PONMGR_THROW("Slot (" + std::to_string(number) + ") not found");
    }
    return slots[static_cast<std::size_t>(number - 1)];
}

}  // namespace ponmgr
