#include "model/PONCard.h"

#include <memory>

#include "app/Exception.h"
#include "model/RecordAccess.h"

namespace ponmgr {

namespace {

constexpr std::size_t kPonPorts = 2;
constexpr const char* kModuleTable = "module_olt_table";

constexpr RecordDefault kDefaults[] = {
    {"mac_address", ""},      {"slot_id", ""},     {"online_status", "0"},
    {"status_reported", "0"}, {"app_version", ""}, {"nvs_enabled", "0"},
};

}  // namespace

PONCard::PONCard() {
    layOut(record, kDefaults);
    for (std::size_t port = 0; port < kPonPorts; port++) {
        record.addItemToList(kModuleTable, std::make_unique<ModuleOltTableRow>());
    }
}

PONCard::~PONCard() = default;

void PONCard::setMacAddress(const std::string& mac) {
    record.setValue("mac_address", mac, false);
}
std::string PONCard::getMacAddress() const {
    return record.getValue("mac_address");
}
void PONCard::clearMacAddress() {
    setMacAddress("");
}
bool PONCard::hasMacAddress() const {
    return record.hasText("mac_address");
}
std::string PONCard::getHexMacAddress() const {
    return toHexMac(getMacAddress());
}

void PONCard::setSlotId(const std::string& slotId) {
    record.setValue("slot_id", slotId, false);
}
std::string PONCard::getSlotId() const {
    return record.getValue("slot_id");
}

void PONCard::setAppVersion(const std::string& version) {
    record.setValue("app_version", version, false);
}
std::string PONCard::getAppVersion() const {
    return record.getValue("app_version");
}

void PONCard::setOnlineStatus(bool online) {
    setFlag(record, "online_status", online);
}
bool PONCard::getOnlineStatus() const {
    return getFlag(record, "online_status");
}

void PONCard::setStatusReported(bool reported) {
    setFlag(record, "status_reported", reported);
}
bool PONCard::getStatusReported() const {
    return getFlag(record, "status_reported");
}

void PONCard::setNVSEnabled(bool enabled) {
    setFlag(record, "nvs_enabled", enabled);
}
bool PONCard::getNVSEnabled() const {
    return getFlag(record, "nvs_enabled");
}

ModuleOltTableRow* PONCard::getModuleOltTable(std::size_t index) {
    if (index >= kPonPorts || index >= record.getListSize(kModuleTable)) {
        PONMGR_THROW("PON (" + std::to_string(index) + ") not found");
    }
    // Only the constructor puts items into this list, and it puts rows.
    return static_cast<ModuleOltTableRow*>(record.getList(kModuleTable)[index].get());
}

void PONCard::clear() {
    record.clear();
}

std::string PONCard::getJsonData() {
    return record.getJsonData(true, nullptr, 0);
}

bool PONCard::setJsonData(const std::string& json) {
    return record.setJsonData(json, false);
}

}  // namespace ponmgr
