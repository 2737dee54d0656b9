// The card's events: what they change in the ONU links, and the alarms that they become.

#include <memory>
#include <utility>

#include "ipc/IPCWorker.h"
#include "model/Helper.h"
#include "model/OltAlarmTableRow.h"
#include "poncard/PONCardHelper.h"

namespace ponmgr {

namespace {

constexpr const char* kAlarmList = "alarm_list";
constexpr const char* kOn = "On";
constexpr const char* kOff = "Off";
/// The value of "alarm_state" that says raised.
constexpr const char* kRaised = "1";

/// Alarms after which the link is gone, whether the card says raised or cleared.
bool takesLinkOffline(TKReportAlarmId id) {
    return id == TKReportAlarmId::ReportTimeout || id == TKReportAlarmId::StandardDyingGasp;
}

}  // namespace

bool PONCardHelper::handleAlarms() {
    bool goOn = true;
    // A failure loses the rest of the batch, and the pass goes on.
    printFailures(__func__, [&] {
        clear();
        clearAllOLTAlarm();
        fullReportFailed = false;
        udpSocket.pullAllAlarm(alarmMessages);
        alarmMessages.parseAllMessages();
        for (std::size_t i = 0; goOn && i < alarmMessages.getContainerSize(); i++) {
            if (Container* const event = alarmMessages.getContainer(i)) {
                goOn = handleEvent(*event);
            }
        }
    });
    return goOn;
}

bool PONCardHelper::handleEvent(Container& event) {
    const std::string id = event.getValue("alarm_message_id");
    switch (TKHelper::toGeneralReportAlarmId(id)) {
        case TKIDMessage::LinkDiscovery:
            handleLinkDiscovery(event);
            return true;
        case TKIDMessage::ReportAlarm:
            handleReportAlarm(event);
            return true;
        case TKIDMessage::OnuLinkMovedBetweenPonPorts:
            handleLinkMoved(event);
            return true;
        case TKIDMessage::OLTReady:
            // The card has restarted. This destroys the whole batch, `event` included.
            setInitialState();
            return false;
        default:
            printLine("ALARM not handled(", id, ")");
            return true;
    }
}

void PONCardHelper::handleLinkDiscovery(const Container& event) {
    const std::string mac = event.getValue("link_mac");
    // The downstream port here, the upstream one in doGetOnuInformation, on purpose. A link keeps
    // the one it got: only links without a port are asked for theirs.
    const std::string port = event.getValue("info_downstream_epon_port");
    onuLinks.addOnuLink(mac);
    if (OnuLink* const link = onuLinks.getOnuLinkFromMAC(mac)) {
        link->setPonPort(port);
        link->clearAlarmMessage();
        link->setIsGigabit(false);
        link->setEthernetUpStatus(false);
        link->setOnlineStatus(true);
        link->setStatusReported(false);
        link->setSlotId(card.getSlotId());
    }
    addLinkReportAlarm(mac);
}

void PONCardHelper::handleReportAlarm(Container& event) {
    const std::string id = event.getValue("alarm_id");
    if (takesLinkOffline(TKHelper::toReportAlarmId(id))) {
        if (OnuLink* const link = onuLinks.getOnuLinkFromMAC(event.getValue("mac_address"))) {
            link->setStatusReported(false);
            link->setOnlineStatus(false);
            link->setIsGigabit(false);
            link->setEthernetUpStatus(false);
            link->addAlarmMessage(TKHelper::getStringReportAlarmId(id));
        }
    }
    addReportAlarm(&event);
}

void PONCardHelper::handleLinkMoved(const Container& event) {
    const std::string mac = event.getValue("link_mac_address");
    if (OnuLink* const link = onuLinks.getOnuLinkFromMAC(mac)) {
        link->setPonPort(event.getValue("to"));
        link->setOnlineStatus(true);
        link->setStatusReported(false);
    }
    addGeneralOnuReportAlarm(TKIDMessage::OnuLinkMovedBetweenPonPorts, mac);
}

void PONCardHelper::addReportAlarm(Container* alarm) {
    printFailures(__func__, [&] {
        const char* state = alarm->getValue("alarm_state") == kRaised ? kOn : kOff;
        const TKEntityTagId tag = TKHelper::toEntityTagId(alarm->getValue("entity_tag"));
        const std::string port =
            tag == TKEntityTagId::OltPort ? alarm->getValue("port_number") : std::string();
        const std::string name = TKHelper::getStringReportAlarmId(alarm->getValue("alarm_id"));
        addCustomReportAlarm(tag, port, alarm->getValue("mac_address"), name, state);
    });
}

void PONCardHelper::addLinkReportAlarm(const std::string& mac) {
    printFailures(__func__, [&] {
        addCustomReportAlarm(TKEntityTagId::OnuLink, "", mac,
                             TKHelper::getStringReportAlarmId(TKReportAlarmId::ReportTimeout),
                             kOff);
    });
}

void PONCardHelper::addGeneralOnuReportAlarm(TKIDMessage id, const std::string& mac) {
    printFailures(__func__, [&] {
        addCustomReportAlarm(TKEntityTagId::OnuLink, "", mac,
                             TKHelper::getStringGeneralReportAlarmId(id), kOn);
    });
}

void PONCardHelper::addCustomReportAlarm(TKEntityTagId tag, const std::string& port,
                                         const std::string& mac, const std::string& alarm,
                                         const std::string& state) {
    printFailures(__func__, [&] {
        auto row = std::make_unique<OltAlarmTableRow>();
        row->setValue("alarm", alarm, false);
        std::string label = TKHelper::getStringEntityTagId(tag) + ": ";
        switch (tag) {
            case TKEntityTagId::OltPort:
                label += TKHelper::getStringEntityPortId(port);
                break;
            case TKEntityTagId::OltLink:
            case TKEntityTagId::OnuLink:
                label += mac;
                break;
        }
        row->setValue("label", label, false);
        row->setValue("state", state, false);
        row->setValue("slot_id", card.getSlotId(), false);
        row->setValue("datetime", Helper::getCurrentDateTime(false), false);
        addAlarmRow(std::move(row));
    });
}

void PONCardHelper::addAlarmRow(std::unique_ptr<Container> row) {
    if (alarms.getListSize(kAlarmList) >= kMostAlarms && !fullReportFailed) {
        // Not for each alarm: a try writes all those that wait as text.
        fullReportFailed = !doReportAlarmToDBMan();
    }
    if (alarms.getListSize(kAlarmList) >= kMostAlarms) {
        lostAlarms++;
        return;
    }
    alarms.addItemToList(kAlarmList, std::move(row));
}

bool PONCardHelper::doReportAlarmToDBMan() {
    return guarded(__func__, [this] {
        if (alarms.getListSize(kAlarmList) == 0) {
            return;
        }
        IPCWorker::getInstance()->notify("/olt/alarm/new", alarms.getJsonFile());
        clearAllAlarm();
        if (lostAlarms > 0) {
            printLine("doReportAlarmToDBMan: ", std::to_string(std::exchange(lostAlarms, 0)),
                      " alarms of slot ", card.getSlotId(), " lost, more than ",
                      std::to_string(kMostAlarms), " waited to be reported");
        }
    });
}

void PONCardHelper::clearAllAlarm() {
    alarms.clearList(kAlarmList);
}

}  // namespace ponmgr
