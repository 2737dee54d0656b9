// The classification rules of an OLT port, each kept as raw bytes.

#include "app/Exception.h"
#include "tk/RMParser.h"
#include "tk/ResponseLayout.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {

namespace {

constexpr std::uint16_t kNoRulesUpTo = 10;

constexpr ResponseField kRulesHead[] = {
    hex(9, "target"),
    u8("flags"),
    u8("rules_count"),
};

constexpr std::uint16_t kRuleSize = 18;
/// Where the digits of a rule's fourth byte stand in its text.
constexpr std::size_t kTailDigits = 6;

/// How long a rule's tail is, plus one. The two hexadecimal digits of the fourth byte are read as
/// decimal ones: 12 for 0x12, and 49 for 0x0a. Kept so on purpose: rules are deleted by the bytes
/// that are read here.
std::uint8_t tailLength(const std::string& rule) {
    const int tens = rule[kTailDigits] - '0';
    const int ones = rule[kTailDigits + 1] - '0';
    return static_cast<std::uint8_t>(tens * 10 + ones);
}

std::string readRule(std::uint16_t* offset, const TKMessage* message) {
    std::string rule = RMParser::parseHex(offset, message, kRuleSize);
    const std::uint8_t tail = tailLength(rule);
    if (tail > 1) {
        rule += RMParser::parseHex(offset, message, static_cast<std::uint16_t>(tail - 1));
    }
    return rule;
}

}  // namespace

std::unique_ptr<Container> ResponseMessage::parseGet_OLT_PortLink_Rules(const TKMessage* message) {
    const char* parser = __func__;
    return parseRecord(parser, [message, parser](std::uint16_t* offset, Container& record) {
        record.setNewValue("result", std::to_string(message->getResult()));
        if (message->getResult() != 0 || message->getLength() <= kNoRulesUpTo) {
            PONMGR_THROW_FROM("Invalid OLT Port/Link Rules", parser);
        }
        readFields(kRulesHead, offset, message, record);
        const int count = std::stoi(record.getValue("rules_count"));
        for (int i = 0; i < count; i++) {
            auto rule = std::make_unique<Container>();
            rule->setNewValue("rule", readRule(offset, message));
            record.addItemToList("rules", std::move(rule));
        }
    });
}

}  // namespace ponmgr
