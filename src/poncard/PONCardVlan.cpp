// VLANs, the classification rules that an OLT-side VLAN is made of, and the commands for one ONU.

#include <cstdlib>
#include <memory>
#include <utility>

#include "app/Exception.h"
#include "model/Helper.h"
#include "model/RecordAccess.h"
#include "poncard/PONCardHelper.h"
#include "poncard/PayloadTable.h"

namespace ponmgr {

namespace {

constexpr std::uint16_t kLastPonPort = 1;
/// A PON port's rules also stand on the port's other side, this much further.
constexpr std::uint16_t kOtherSide = 2;
constexpr std::uint16_t kLastVlanOffset = 4094;
constexpr const char* kDiscardUntagged = "1";

/// The IEEE 802.1Q tag's Ethernet type.
constexpr std::uint16_t kVlanTag = 33024;

constexpr std::uint8_t kRuleTarget = 5;

/// What every rule begins with, behind its target.
constexpr PayloadField kRuleHead[] = {u8Field(0), u8Field(1), u8Field(8), u8Field(1)};

// Rule A, on the port: the head, these, the VLAN, and the tail.
constexpr PayloadField kTaggingRule[] = {
    u8Field(4),
    u8Field(5),
    u8Field(1),
    u16Field(kVlanTag),
};
constexpr PayloadField kTaggingRuleTail[] = {
    u8Field(1), u8Field(1), u8Field(0), u8Field(0), u64Field(0), u8Field(7),
};

// Rule B, on the other side.
constexpr PayloadField kUntaggingRule[] = {
    u8Field(5), u8Field(1), u8Field(1),  u8Field(1), u8Field(1),
    u8Field(0), u8Field(0), u64Field(0), u8Field(7),
};

// Rule C, on the other side: these, the VLAN as 16 digits, and the tail.
constexpr PayloadField kPassRule[] = {
    u8Field(2), u8Field(2), u16Field(0), u8Field(1), u8Field(6), u8Field(52), u8Field(0),
};
constexpr PayloadField kPassRuleTail[] = {u8Field(2)};
constexpr std::uint8_t kVlanDigits = 16;

// Rule D, on the other side: everything else is discarded.
constexpr PayloadField kDiscardRule[] = {
    u8Field(2), u8Field(2), u16Field(0), u8Field(1), u8Field(6),
    u8Field(0), u8Field(0), u64Field(0), u8Field(6),
};

/// Behind the ONU's MAC: its first Ethernet port.
constexpr PayloadField kOnuPort[] = {
    u8Field(128), u8Field(1), u8Field(1), u8Field(0), u16Field(1),
};

std::uint16_t toU16(const std::string& text) {
    return static_cast<std::uint16_t>(std::stoi(text));
}

}  // namespace

void PONCardHelper::addRuleTarget(TKMPayload& payload, std::uint16_t port) {
    payload.addU8Number(kRuleTarget).addHex(card.getHexMacAddress()).addU16Number(port);
}

void PONCardHelper::startRule(TKMPayload& payload, std::uint16_t port) {
    payload.clear();
    addRuleTarget(payload, port);
    addFields(payload, kRuleHead);
}

bool PONCardHelper::doSetOltVlan(const std::string& ponNumber, const std::string& vlanId,
                                 const std::string& discardUntagged) {
    const char* operation = __func__;
    return guarded(operation, [&] {
        clear();
        const std::uint16_t port = toU16(ponNumber);
        if (port > kLastPonPort) {
            PONMGR_THROW_FROM("Impossible to add VLAN to PON Number(" + ponNumber + ")", operation);
        }
        std::uint16_t vlan = 0;
        if (!vlanId.empty()) {
            vlan = toU16(vlanId);
            // 1 to 4095; 4095 is accepted on purpose.
            if (static_cast<std::uint16_t>(vlan - 1) > kLastVlanOffset) {
                PONMGR_THROW_FROM("Impossible to set VLAN ID equals to (" + vlanId + ")",
                                  operation);
            }
        }
        // The new rules are installed also when the old ones could not be listed.
        doClearAllRules(port);
        if (vlanId.empty()) {
            return;
        }
        clear();
        addVlanRules(port, vlan, discardUntagged == kDiscardUntagged);
        sendRequestMessage();
    });
}

void PONCardHelper::addVlanRules(std::uint16_t port, std::uint16_t vlan, bool discardUntagged) {
    const auto otherSide = static_cast<std::uint16_t>(port + kOtherSide);
    TKMPayload payload;

    startRule(payload, port);
    addFields(payload, kTaggingRule);
    payload.addU16Number(vlan);
    addFields(payload, kTaggingRuleTail);
    requests.addOltRule(&payload);

    startRule(payload, otherSide);
    addFields(payload, kUntaggingRule);
    requests.addOltRule(&payload);

    if (!discardUntagged) {
        return;
    }
    startRule(payload, otherSide);
    addFields(payload, kPassRule);
    payload.addHex(Helper::toStringHex(vlan, kVlanDigits));
    addFields(payload, kPassRuleTail);
    requests.addOltRule(&payload);

    startRule(payload, otherSide);
    addFields(payload, kDiscardRule);
    requests.addOltRule(&payload);
}

bool PONCardHelper::doClearAllRules(std::uint16_t port) {
    guarded(__func__, [&] {
        Payloads rules;
        if (!doGetAllTkmRules(rules, port)) {
            return;
        }
        for (const auto& rule : rules) {
            doDeleteTkmpRule(rule.get());
        }
    });
    return true;
}

bool PONCardHelper::doGetAllTkmRules(Payloads& rules, std::uint16_t port) {
    return guarded(__func__, [&] {
        clear();
        for (const std::uint16_t side : {port, static_cast<std::uint16_t>(port + kOtherSide)}) {
            TKMPayload payload;
            addRuleTarget(payload, side);
            requests.addGetOltRule(&payload);
        }
        sendRequestMessage();
        for (std::size_t i = 0; i < responses.getContainerSize(); i++) {
            collectRules(*responses.getContainer(i), rules);
        }
    });
}

void PONCardHelper::collectRules(Container& answer, Payloads& rules) {
    if (!answer.hasList("rules")) {
        return;
    }
    for (const auto& rule : answer.getList("rules")) {
        auto payload = std::make_unique<TKMPayload>();
        payload->addHex(answer.getValue("target"));
        payload->addU8Number(static_cast<std::uint8_t>(std::stoi(answer.getValue("flags"))));
        payload->addU8Number(1);
        payload->addHex(rule->getValue("rule"));
        rules.push_back(std::move(payload));
    }
}

bool PONCardHelper::doDeleteTkmpRule(TKMPayload* rule) {
    return guarded(__func__, [&] { exchange(&RequestMessage::addDeleteOltPortLinkRule, *rule); });
}

int PONCardHelper::doSetOnuVlan(const std::string& vlanId, const std::string& onuMac) {
    guarded(__func__, [&] {
        TKMPayload payload;
        payload.addHex(toHexMac(onuMac));
        addFields(payload, kOnuPort);
        // No range is checked here, unlike on the OLT's side: 0, and what is no number, send the
        // untagged setting, which is how a VLAN is taken off an ONU.
        const int vlan = static_cast<int>(std::strtol(vlanId.c_str(), nullptr, 10));
        payload.addBool(vlan >= 1);
        if (vlan > 0) {
            payload.addU16Number(kVlanTag).addU16Number(static_cast<std::uint16_t>(vlan));
        }
        exchange(&RequestMessage::addOnuPortVlan, payload);
    });
    return 0;
}

int PONCardHelper::doResetOnu(const std::string& onuMac) {
    guarded(__func__, [&] {
        TKMPayload payload;
        payload.addHex(toHexMac(onuMac));
        exchange(&RequestMessage::addResetONU, payload);
    });
    return 0;
}

bool PONCardHelper::clearAllProvisioningForLogicalLink(const std::string& onuMac) {
    return guarded(__func__, [&] {
        TKMPayload payload;
        payload.addHex(toHexMac(onuMac));
        exchange(&RequestMessage::addClearAllProvisioningForLogicalLink, payload);
    });
}

}  // namespace ponmgr
