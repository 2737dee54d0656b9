#include "poncard/PONCardTask.h"

#include <utility>

#include "app/LogLine.h"
#include "app/NamedThread.h"
#include "poncard/PingProbe.h"
#include "tk/SocketHelper.h"

namespace ponmgr {

namespace {

/// The check that the card still holds its configuration comes in the pass after the counter has
/// passed this: in every twelfth full pass.
constexpr unsigned kRecheckAfter = 10;

}  // namespace

struct PONCardTask::Command {
    const char* uri;
    void (*carryOut)(PONCardTask& slot, const PMTask& task);
};

// In the order in which they are compared with the task's whole name.
const PONCardTask::Command PONCardTask::kCommands[] = {
    {"/slot/enable", [](PONCardTask& slot, const PMTask&) { slot.helper.doEnableOLT(); }},
    {"/slot/disable", [](PONCardTask& slot, const PMTask&) { slot.helper.doDisableOLT(); }},
    {"/slot/reset", [](PONCardTask& slot, const PMTask&) { slot.helper.doResetOLT(); }},
    {"/slot/onu/remove",
     [](PONCardTask& slot, const PMTask& task) {
         slot.helper.clearAllProvisioningForLogicalLink(task.getDataValue("mac_address"));
         slot.helper.removeMacFromOnuList(task.getDataValue("mac_address"));
     }},
    {"/slot/onu/reset",
     [](PONCardTask& slot, const PMTask& task) {
         slot.helper.doResetOnu(task.getDataValue("mac_address"));
     }},
    {"/olt/src_ip",
     [](PONCardTask& slot, const PMTask& task) {
         slot.setSourceIpAddress(task.getDataValue("ip_address"));
     }},
    {"/olt/ip", [](PONCardTask& slot,
                   const PMTask& task) { slot.setOltIpAddress(task.getDataValue("ip_address")); }},
    {"/slot/onu/set/vlanid",
     [](PONCardTask& slot, const PMTask& task) {
         slot.helper.doSetOnuVlan(task.getDataValue("vlan_id"), task.getDataValue("mac_address"));
     }},
    {"/olt/vlan",
     [](PONCardTask& slot, const PMTask& task) {
         slot.helper.doSetOltVlan(task.getDataValue("pon_number"), task.getDataValue("vlan_id"),
                                  task.getDataValue("discard_untagged"));
     }},
};

PONCardTask::PONCardTask(const PONCardTiming& slotTiming)
    : timing(slotTiming), helper(slotTiming) {}

PONCardTask::~PONCardTask() = default;

void PONCardTask::prepare(const std::string& interface, const std::string& slot) {
    interfaceName = interface;
    slotId = slot;
    socketHelper = SocketHelper::getInstance(interface);
    helper.start(interface, slot);
}

void PONCardTask::start(const std::string& interface, const std::string& slot) {
    prepare(interface, slot);
    const std::string name = "slot" + slotId;
    mainThread = startNamedThread(name + "-main", [this] { mainLoop(); });
    taskThread = startNamedThread(name + "-task", [this] { taskLoop(); });
    pingThread = startNamedThread(name + "-ping", [this] { pingLoop(); });
}

void PONCardTask::waitFinish() {
    mainThread.join();
    taskThread.join();
    pingThread.join();
}

// --- main loop ---

void PONCardTask::mainLoop() {
    for (;;) {
        runMainPass();
        std::this_thread::sleep_for(timing.passPause);
    }
}

void PONCardTask::runMainPass() {
    const std::lock_guard lock(cardMutex);
    helper.doReportOLTModule();
    if (isReady()) {
        pollCard();
        return;
    }
    // With the card mutex held: an idle slot takes its commands one second out of two.
    std::this_thread::sleep_for(timing.passPause);
}

bool PONCardTask::isReady() {
    return !oltIpAddress.isEmpty() && socketHelper->hasDone();
}

void PONCardTask::pollCard() {
    if (identifyCard() || configureCardWhenUnmarked()) {
        return;
    }
    if (!helper.handleAlarms() || !checkDomain()) {
        return;
    }
    trackLinks();
    helper.doReportAlarmToDBMan();
    readOpticsWhenDue();
    recheckWhenDue();
}

/// Steps that end the pass return true.
bool PONCardTask::identifyCard() {
    if (!helper.hasOltMacAddress()) {
        helper.doRequestOltEponMac();
        return true;
    }
    if (!helper.getIsGetNVSEnabled()) {
        // A question that failed doesn't end the pass; it is asked again in the next one.
        helper.doRequestNVSEnabled();
        if (helper.getNVSEnabled()) {
            helper.doSetNVSDisabled();
            helper.doResetOLT();
            return true;
        }
    }
    return false;
}

/// A card that is marked already goes on with the pass, and so does one that didn't answer.
bool PONCardTask::configureCardWhenUnmarked() {
    if (helper.getIsOnCtcMode() || !helper.doRequestCtcMode() || helper.getIsOnCtcMode()) {
        return false;
    }
    configureCard();
    recheckCounter = 0;
    return true;
}

/// The one configuration of every card, in sending order. A step that fails is printed and the
/// sequence goes on; the marker is read again in the next pass.
void PONCardTask::configureCard() {
    helper.doDisableOLT();
    helper.doSetEnCtcMode();
    helper.doSetDBAAggregateBandwidth(0);
    helper.doSetAggregateBandwidth(0);
    helper.doSetDBAAggregateBandwidth(1);
    helper.doSetAggregateBandwidth(1);
    helper.doSetEncryptionModeDefault(0);
    helper.doSetEncryptionModeDefault(1);
    helper.doClearAllAllowedLinks(0);
    helper.doClearAllAllowedLinks(1);
    helper.doSetDBAPollingIntervalHighResolution(0);
    helper.doSetDBAPollingIntervalHighResolution(1);
    helper.doSetDefaultOAMRate();
    helper.doSetOLTBridgingConfiguration();
    helper.doSetEPONLoopTiming(0);
    helper.doSetEPONLoopTiming(1);
    helper.doSetEPONSyncTime(0);
    helper.doSetEPONSyncTime(1);
    helper.doSetAllPaths();
    helper.doSetOLTIPMulticastGlobalProvisioning();
    helper.doSetDomainVersion2();
    helper.doSetDomainRules(0, 0);
    helper.doSetDomainRules(1, 0);
    helper.doSetDomainRules(0, 1);
    helper.doSetDomainRules(1, 1);
    helper.doSetOLTIPMulticastDomainProxyProvisioning();
    helper.doSetOLTIPMulticastHostCopy();
    helper.setHasDomain(true);
    helper.clearAllOLTAlarm();
    // Leaves the list empty and the inventory "known": until the configuration is checked again,
    // links appear by their discovery alone.
    helper.doGetAllOnuKnown(true);
    helper.clearAllLogicalLink();
    helper.doEnableOLT();
}

bool PONCardTask::checkDomain() {
    if (!helper.getHasDomain()) {
        helper.requestHasDomain();
    }
    if (helper.getHasDomain()) {
        return true;
    }
    helper.doResetOLT();
    helper.clearAllOLTAlarm();
    return false;
}

void PONCardTask::trackLinks() {
    helper.doGetAllOnuQueue();
    helper.doSetAllOnuGigabit();
    // After the provisioning: links that a refresh finds are provisioned in the next pass.
    if (!helper.getIsGetAllOnuKnown() && helper.getHasDomain()) {
        helper.doGetAllOnuKnown(false);
        helper.doGetAllOnuInformation();
        helper.removeAllOfflineOnu();
        helper.clearAllUnusedPaths();
    }
}

void PONCardTask::readOpticsWhenDue() {
    if (opticsCounter == kOpticsDue) {
        opticsCounter = 0;
        helper.doGetAllOnuOpticsPower();
        helper.doGetAllOltOpticsPower();
    } else {
        opticsCounter++;
    }
}

void PONCardTask::recheckWhenDue() {
    if (recheckCounter > kRecheckAfter) {
        helper.doRecheckConfiguration();
        recheckCounter = 0;
    } else {
        recheckCounter++;
    }
}

// --- task loop ---

void PONCardTask::taskLoop() {
    for (;;) {
        runTaskPass();
    }
}

void PONCardTask::runTaskPass() {
    if (const auto task = takeTask()) {
        carryOut(*task);
    } else {
        waitForTask();
    }
}

void PONCardTask::addTask(std::unique_ptr<PMTask> task) {
    const std::lock_guard lock(taskMutex);
    if (tasks.size() >= kMostTasks) {
        PONMGR_THROW("Too many commands wait for slot " + slotId);
    }
    tasks.push_back(std::move(task));
    taskCondition.notify_one();
}

std::size_t PONCardTask::getTaskCount() {
    const std::lock_guard lock(taskMutex);
    return tasks.size();
}

std::unique_ptr<PMTask> PONCardTask::takeTask() {
    const std::lock_guard lock(taskMutex);
    if (tasks.empty()) {
        return nullptr;
    }
    auto task = std::move(tasks.front());
    tasks.pop_front();
    if (tasks.empty()) {
        tasks.shrink_to_fit();
    }
    return task;
}

void PONCardTask::waitForTask() {
    std::unique_lock lock(taskMutex);
    // Once, without another look at the queue: a command queued since the last look is carried out
    // with the next one. Adding that look would change when commands of one moment are seen.
    taskCondition.wait(lock);  // NOLINT(bugprone-spuriously-wake-up-functions)
}

void PONCardTask::carryOut(const PMTask& task) {
    for (const Command& command : kCommands) {
        if (task.getTask() == command.uri) {
            const std::lock_guard lock(cardMutex);
            // An operation lets nothing out; its arguments can still find no memory.
            printFailures("taskLoop", [&] { command.carryOut(*this, task); });
            return;
        }
    }
    // A name that is in no row is another release's command: it vanishes without a line.
}

void PONCardTask::setSourceIpAddress(const std::string& ip) {
    sourceIpAddress.set(ip);
    socketHelper->setSourceIP(ip);
}

void PONCardTask::setOltIpAddress(const std::string& ip) {
    printFailures(__func__, [this, &ip] {
        helper.setOltIpAddress(ip);
        oltIpAddress.set(ip);
        helper.setInitialState();
    });
}

// --- ping loop ---

void PONCardTask::pingLoop() {
    // The slots begin one after the other, so that not all of them ping at once.
    std::this_thread::sleep_for(std::stoi(slotId) * timing.probeStagger);
    for (;;) {
        runPingPass();
        std::this_thread::sleep_for(timing.probePause);
    }
}

void PONCardTask::runPingPass() {
    const bool online = checkPONCardOnline();
    helper.setOLTOnlineStatus(online);
    if (online) {
        pingResetDone = false;
        return;
    }
    if (pingResetDone) {
        return;  // reset once an outage; armed again by the first probe that succeeds
    }
    // Two more at once, the second only when the first fails.
    if (checkPONCardOnline() || checkPONCardOnline()) {
        pingResetDone = false;
        return;
    }
    resetUnreachableCard();
}

void PONCardTask::resetUnreachableCard() {
    printFailures("pingLoop", [this] {
        const std::lock_guard lock(cardMutex);
        helper.setInitialState();
        pingResetDone = true;
    });
}

bool PONCardTask::checkPONCardOnline() {
    // A probe that can't be made, for there is no memory, says nothing against the card.
    bool online = true;
    printFailures("pingLoop", [&] { online = probeCard(); });
    return online;
}

bool PONCardTask::probeCard() {
    const std::string source = sourceIpAddress.get();
    const std::string address = oltIpAddress.get();
    if (source.empty() || address.empty()) {
        return false;
    }
    const bool anyInterface = interfaceName == SocketHelper::kAnyInterface;
    return isAnswering(pingCommand(anyInterface ? source : interfaceName, address));
}

}  // namespace ponmgr
