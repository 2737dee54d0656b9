// What a card says of ONU links: the lists of them, a link's information, and the events that a
// link was discovered or has moved.

#include "app/Exception.h"
#include "tk/ResponseLayout.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {

namespace {

constexpr std::uint16_t kMacSize = 6;
constexpr ResponseField kLinkMac[] = {mac("mac_address")};

/// A link's information, in two pieces: the length it states of itself is checked in between.
constexpr ResponseField kLinkInformationHead[] = {
    mac("link_mac"),
    u16("info_length"),
};
constexpr ResponseField kLinkInformation[] = {
    hex(3, "info_vendor_oui"),
    hex(2, "info_product_code"),
    hex(2, "info_product_version"),
    hex(2, "info_llid"),
    u16("info_rtt"),
    u8("info_downstream_epon_port"),
    u16("info_vendor_type"),
    u8("info_reporting_formats"),
    u8("info_pending_grants_limit"),
    u8("info_upstream_speeds"),
    u8("info_upstream_epon_port"),
};
/// The bytes of kLinkInformation.
constexpr int kInformationLength = 18;

constexpr ResponseField kLinkMoved[] = {
    mac("link_mac_address"),
    u8("from"),
    u8("to"),
};

// Bounds of the length field that the card writes.
constexpr std::uint16_t kNoDiscoveryBelow = 8;
constexpr std::uint16_t kNoInformationBelow = 8;
constexpr std::uint16_t kResultOnlyUpTo = 8;

void readLinkMacs(std::uint16_t* offset, const TKMessage* message, Container& record) {
    readList(kLinkMac, message->getDataLength() / kMacSize, "link_macs", offset, message, record);
}

void setMessageId(const TKMessage* message, Container& record) {
    record.setNewValue("alarm_message_id", std::to_string(message->getId()));
}

bool isInformationTooShort(const Container& record) {
    return std::stoi(record.getValue("info_length")) < kInformationLength;
}

}  // namespace

std::unique_ptr<Container> ResponseMessage::parseGet_List_of_All_Known_Logical_Links(
    const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        readLinkMacs(offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_List_of_Discovered_Links(
    const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        readLinkMacs(offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseOnuLinkMovedBetweenPonPorts(
    const TKMessage* message) {
    return parseRecord(__func__, [message](std::uint16_t* offset, Container& record) {
        setMessageId(message, record);
        readFields(kLinkMoved, offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseLink_Discovery(const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        if (message->getLength() < kNoDiscoveryBelow) {
            PONMGR_THROW_FROM("Invalid Link payload", parser);
        }
        readFields(kLinkInformationHead, offset, message, record);
        if (isInformationTooShort(record)) {
            PONMGR_THROW_FROM("Link Length is below 18 bytes", parser);
        }
        setMessageId(message, record);
        readFields(kLinkInformation, offset, message, record);
    });
}

std::unique_ptr<Container> ResponseMessage::parseGet_ONU_Information(const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        record.setNewValue("result", std::to_string(message->getResult()));
        if (message->getResult() == 0 && message->getLength() < kNoInformationBelow) {
            PONMGR_THROW_FROM("Invalid Link Info payload", parser);
        }
        if (message->getLength() <= kResultOnlyUpTo) {
            return;
        }
        readFields(kLinkInformationHead, offset, message, record);
        if (isInformationTooShort(record)) {
            PONMGR_THROW_FROM("Link Info Length is below 18 bytes", parser);
        }
        readFields(kLinkInformation, offset, message, record);
    });
}

}  // namespace ponmgr
