#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "Property.h"
#include "model/Container.h"
#include "sim/Addresses.h"
#include "sim/Card.h"

namespace ponmgr::test {

/// The record that an answer should be parsed to, written down key by key.
class ExpectedRecord {
public:
    ExpectedRecord& with(const char* key, const std::string& text) {
        record->setNewValue(key, text);
        return *this;
    }
    ExpectedRecord& with(const char* key, std::uint64_t number) {
        return with(key, std::to_string(number));
    }
    ExpectedRecord& withHex(const char* key, std::span<const std::uint8_t> bytes) {
        return with(key, sim::hexText(bytes));
    }
    ExpectedRecord& withHex(const char* key, std::uint16_t number) {
        return withHex(key, Bytes{static_cast<std::uint8_t>(number >> 8),
                                  static_cast<std::uint8_t>(number & 0xFF)});
    }
    ExpectedRecord& withMac(const char* key, const sim::MacAddress& mac) {
        return with(key, sim::toText(mac));
    }
    /// Takes the item's record over.
    ExpectedRecord& withItem(const char* list, ExpectedRecord& item) {
        record->addItemToList(list, std::move(item.record));
        return *this;
    }

    /// `actual` has exactly these keys and lists with these values.
    void requireIn(Container* actual) const {
        require(actual != nullptr, "there is a record");
        requireEqual(actual->getJsonFile(), record->getJsonFile(), "the parsed record");
    }

private:
    std::unique_ptr<Container> record = std::make_unique<Container>();
};

/// Of Get OLT Information.
inline ExpectedRecord oltInformation(const sim::CardIdentity& identity) {
    Bytes vendorInformation(identity.vendorInfo.begin(), identity.vendorInfo.end());
    vendorInformation.resize(64);
    ExpectedRecord expected;
    expected.withMac("olt_epon_mac", identity.mac)
        .withHex("vendor_oui", identity.vendorOui)
        .withHex("product_code", identity.productCode)
        .withHex("product_version", identity.productVersion)
        .withHex("firmware_version", identity.firmwareVersion)
        .withHex("vendor_info", vendorInformation)
        .with("jedec_id", identity.jedecId)
        .withHex("chip_id", identity.chipId)
        .withHex("chip_version", identity.chipVersion)
        .with("num_epon_ports", identity.eponPorts)
        .with("num_nni_ports", identity.nniPorts);
    return expected;
}

/// Of a link that is discovered or asked for.
inline ExpectedRecord linkInformation(const sim::Onu& onu) {
    ExpectedRecord expected;
    expected.withMac("link_mac", onu.mac)
        .with("info_length", 18)
        .withHex("info_vendor_oui", onu.vendorOui)
        .withHex("info_product_code", onu.productCode)
        .withHex("info_product_version", onu.productVersion)
        .withHex("info_llid", onu.llid)
        .with("info_rtt", onu.roundTripTime)
        .with("info_downstream_epon_port", onu.port)
        .with("info_vendor_type", 1)
        .with("info_reporting_formats", 1)
        .with("info_pending_grants_limit", 8)
        .with("info_upstream_speeds", 1)
        .with("info_upstream_epon_port", onu.port);
    return expected;
}

}  // namespace ponmgr::test
