#include "poncard/PONCardHelper.h"

namespace ponmgr {

PONCardHelper::PONCardHelper(const PONCardTiming& timing)
    : responses(timing.acceptedLaterPause),
      alarmMessages(timing.acceptedLaterPause),
      udpSocket(timing.exchange) {}

PONCardHelper::~PONCardHelper() = default;

void PONCardHelper::start(const std::string& interface, const std::string& slotId) {
    udpSocket.start(interface, slotId);
    card.setSlotId(slotId);
}

void PONCardHelper::start(DatagramTransport* sharedSocket, const std::string& slotId) {
    udpSocket.start(sharedSocket, slotId);
    card.setSlotId(slotId);
}

void PONCardHelper::setOltIpAddress(const std::string& ip) {
    udpSocket.setClientIpAddress(ip);
}

void PONCardHelper::clear() {
    requests.clear();
    responses.clear();
}

void PONCardHelper::clearAllOLTAlarm() {
    alarmMessages.clear();
}

void PONCardHelper::sendRequestMessage() {
    udpSocket.sendRequestMessage(&requests, &responses);
    responses.parseAllMessages();
}

Container* PONCardHelper::exchange(PlainRequest request) {
    clear();
    (requests.*request)();
    sendRequestMessage();
    return responses.getContainer(0);
}

Container* PONCardHelper::exchange(PayloadRequest request, TKMPayload& payload) {
    clear();
    (requests.*request)(&payload);
    sendRequestMessage();
    return responses.getContainer(0);
}

void PONCardHelper::setInitialState() {
    clear();
    isOnCtcMode = false;
    isGetAllOnuKnown = false;
    isGetNVSEnabled = false;
    hasDomain = false;
    card.clearMacAddress();
    clearAllOLTAlarm();
    doReportAllOnuOffline();
    onuLinks.clear();
}

void PONCardHelper::doRecheckConfiguration() {
    isOnCtcMode = false;
    isGetAllOnuKnown = false;
    hasDomain = false;
}

}  // namespace ponmgr
