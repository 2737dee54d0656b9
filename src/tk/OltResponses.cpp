// What a card says of itself: identity, non-volatile storage, OAM extension sets, domains, paths
// and bridging.

#include "app/Exception.h"
#include "tk/ResponseLayout.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {

namespace {

constexpr ResponseField kOltInformation[] = {
    mac("olt_epon_mac"),       skip(2),
    hex(3, "vendor_oui"),      hex(2, "product_code"),
    hex(2, "product_version"), hex(2, "firmware_version"),
    hex(64, "vendor_info"),    u16("jedec_id"),
    hex(2, "chip_id"),         hex(4, "chip_version"),
    u8("num_epon_ports"),      u8("num_nni_ports"),
};

constexpr ResponseField kNvsEnabled[] = {
    u8("after_next_boot"),
    u8("current"),
};
constexpr std::uint16_t kNvsNotSupported = 1;
constexpr std::uint16_t kNvsSmallestLength = 4;

constexpr std::uint16_t kOamSetsOffset = 7;
constexpr std::uint16_t kOamSetSize = 7;
constexpr ResponseField kOamSet[] = {
    u8("type"), u8("length"), u8("version"), hex(3, "oui"), u8("state"),
};

constexpr ResponseField kDomains[] = {
    u16("id"),
    u16("count"),
};
constexpr std::uint16_t kDomainsLongestLength = 6;

constexpr std::uint16_t kPathSize = 4;
constexpr ResponseField kPath[] = {
    u16("id"),
    u16("usage_count"),
};

constexpr ResponseField kBridgingMode[] = {
    mac("link"),
    u8("bridging_type"),
    u16("mac_table_entry_limit"),
    hex(2, "down_path_endpoint"),
    u16("down_queue_index"),
    hex(2, "up_path_endpoint"),
    u16("up_queue_index"),
    hex(2, "mcast_path_endpoint"),
    u16("mcast_queue_index"),
};

}  // namespace

std::unique_ptr<Container> ResponseMessage::parseGet_OLT_Information(const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        readFields(kOltInformation, offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseOLT_Ready(const TKMessage* message) {
    const std::string id = std::to_string(message->getId());
    auto record = parseGet_OLT_Information(message);
    record->setNewValue("alarm_message_id", id);
    return record;
}

std::unique_ptr<Container> ResponseMessage::parseGet_NVS_Enabled(const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        if (message->getResult() == kNvsNotSupported) {
            // A card without non-volatile storage has nothing to switch off.
            record.setNewValue("current", "0");
            return;
        }
        if (message->getLength() < kNvsSmallestLength) {
            PONMGR_THROW_FROM("Invalid NVS Enabled payload", parser);
        }
        readFields(kNvsEnabled, offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_OAM_Extension_Set_Support(
    const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        if (message->getDataLength() < kOamSetsOffset) {
            PONMGR_THROW_FROM("Invalid data length size", parser);
        }
        *offset = kOamSetsOffset;
        const unsigned count = (message->getDataLength() - unsigned{kOamSetsOffset}) / kOamSetSize;
        readList(kOamSet, count, "oam_sets", offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_All_Domains(const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        // A card with several domains answers with a longer length field. Its record stays without
        // fields of its own, which is all that is asked of it: that there was an answer.
        if (message->getLength() == 0 || message->getLength() > kDomainsLongestLength) {
            return;
        }
        readFields(kDomains, offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_All_Paths(const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        const unsigned count = message->getDataLength() / kPathSize;
        readList(kPath, count, "paths", offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_OLT_Bridging_Mode(const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        readFields(kBridgingMode, offset, message, record);
    });
}

}  // namespace ponmgr
