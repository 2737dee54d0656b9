#include "model/OnuLink.h"

#include <utility>

#include "model/RecordAccess.h"

namespace ponmgr {

namespace {

constexpr RecordDefault kDefaults[] = {
    {"pon_port", "-"},        {"is_gigabit", "0"},      {"temperature", "-"},
    {"supply_voltage", "-"},  {"tx_bias_current", "-"}, {"tx_power_input", "-"},
    {"tx_power_output", "-"}, {"downstream_queue", ""}, {"upstream_queue", ""},
    {"mcast_queue", ""},      {"ether_up_status", "0"}, {"online_status", "0"},
    {"alarm_message", ""},    {"status_reported", "0"}, {"slot_id", ""},
};

}  // namespace

OnuLink::OnuLink(const std::string& mac) {
    record.setNewValue("mac_address", mac);
    layOut(record, kDefaults);
}

OnuLink::~OnuLink() = default;

std::string OnuLink::getMacAddress() const {
    return record.getValue("mac_address");
}
std::string OnuLink::getHexMacAddress() const {
    return toHexMac(getMacAddress());
}

void OnuLink::setPonPort(const std::string& port) {
    record.setValue("pon_port", port, false);
}
std::string OnuLink::getPonPort() const {
    return record.getValue("pon_port");
}

void OnuLink::setIsGigabit(bool isGigabit) {
    setFlag(record, "is_gigabit", isGigabit);
}
bool OnuLink::getIsGigabit() const {
    return getFlag(record, "is_gigabit");
}

void OnuLink::setTemperature(const std::string& celsius) {
    record.setValue("temperature", celsius, false);
}
std::string OnuLink::getTemperature() const {
    return record.getValue("temperature");
}

void OnuLink::setSupplyVoltage(const std::string& volts) {
    record.setValue("supply_voltage", volts, false);
}
std::string OnuLink::getSupplyVoltage() const {
    return record.getValue("supply_voltage");
}

void OnuLink::setTxBiasCurrent(const std::string& milliamperes) {
    record.setValue("tx_bias_current", milliamperes, false);
}
std::string OnuLink::getTxBiasCurrent() const {
    return record.getValue("tx_bias_current");
}

void OnuLink::setTxPowerInput(const std::string& dBm) {
    record.setValue("tx_power_input", dBm, false);
}
std::string OnuLink::getTxPowerInput() const {
    return record.getValue("tx_power_input");
}

void OnuLink::setTxPowerOutput(const std::string& dBm) {
    record.setValue("tx_power_output", dBm, false);
}
std::string OnuLink::getTxPowerOutput() const {
    return record.getValue("tx_power_output");
}

void OnuLink::setDownstreamQueue(const std::string& endpoint) {
    record.setValue("downstream_queue", endpoint, false);
}
std::string OnuLink::getDownstreamQueue() const {
    return record.getValue("downstream_queue");
}

void OnuLink::setUpstreamQueue(const std::string& endpoint) {
    record.setValue("upstream_queue", endpoint, false);
}
std::string OnuLink::getUpstreamQueue() const {
    return record.getValue("upstream_queue");
}

void OnuLink::setMultiCastQueue(const std::string& endpoint) {
    record.setValue("mcast_queue", endpoint, false);
}
std::string OnuLink::getMultiCastQueue() const {
    return record.getValue("mcast_queue");
}

void OnuLink::setEthernetUpStatus(bool up) {
    setFlag(record, "ether_up_status", up);
}
bool OnuLink::getEthernetUpStatus() const {
    return getFlag(record, "ether_up_status");
}

void OnuLink::setOnlineStatus(bool online) {
    setFlag(record, "online_status", online);
}
bool OnuLink::getOnlineStatus() const {
    return getFlag(record, "online_status");
}

void OnuLink::setStatusReported(bool reported) {
    setFlag(record, "status_reported", reported);
}
bool OnuLink::getStatusReported() const {
    return getFlag(record, "status_reported");
}

void OnuLink::setSlotId(const std::string& slotId) {
    record.setValue("slot_id", slotId, false);
}
std::string OnuLink::getSlotId() const {
    return record.getValue("slot_id");
}

void OnuLink::addAlarmMessage(const std::string& message) {
    const std::string earlier = getAlarmMessage();
    record.setValue("alarm_message", earlier.empty() ? message : earlier + "," + message, false);
}
void OnuLink::clearAlarmMessage() {
    record.setValue("alarm_message", "", false);
}
std::string OnuLink::getAlarmMessage() const {
    return record.getValue("alarm_message");
}

bool OnuLink::getHasModified() {
    return record.getHasModified();
}
void OnuLink::clearHasModified() {
    record.clearHasModified();
}

std::string OnuLink::getJsonData() {
    return record.getJsonData(false, nullptr, 0);
}

bool OnuLink::setJsonData(const std::string& json) {
    if (macAddressChanging) {
        macAddressChanging();
    }
    return record.setJsonData(json, false);
}

void OnuLink::beforeMacAddressChanges(std::function<void()> listener) {
    macAddressChanging = std::move(listener);
}

}  // namespace ponmgr
