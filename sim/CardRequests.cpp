#include "sim/CardRequests.h"

#include <algorithm>
#include <array>
#include <functional>

#include "sim/RequestHandlers.h"

namespace ponmgr::sim {

namespace {

constexpr std::uint8_t kSlaSize = 18;
constexpr std::uint8_t kOltPortTag = 5;
constexpr std::uint8_t kExtensionSetLead = 8;

constexpr PayloadLayout kNothing;
constexpr std::array kLink{kLinkMac};
constexpr std::array kOamRate{bytes(1), bytes(1), bytes(1)};
constexpr std::array kBridging{bytes(4), kBoolean, bytes(1), kBoolean,
                               kBoolean, kBoolean, bytes(1)};
constexpr std::array kOnuPortVlan{kLinkMac, bytes(4), bytes(2), kBoolean, kRest};
constexpr std::array kPortOnly{kOltMac, kPonPort};
constexpr std::array kEthernetPort{kLinkMac, bytes(4), bytes(2), bytes(4)};
constexpr std::array kNvs{kBoolean};
constexpr std::array kStatistics{
    constant(kOltPortTag), kOltMac, kPonPort, bytes(2), bytes(1), bytes(1)};
constexpr std::array kMulticastGlobal{bytes(2), bytes(4), bytes(2)};
constexpr std::array kMulticastProxy{key(2), bytes(20), bytes(28), bytes(4), bytes(16)};
constexpr std::array kMulticastHostCopy{key(2), bytes(15)};
constexpr std::array kPollingInterval{kOltMac, kPonPort, bytes(2)};
constexpr std::array kLoopTiming{kOltMac, kPonPort, bytes(8)};
constexpr std::array kAggregateBandwidth{kOltMac, kPonPort, bytes(4), bytes(2), bytes(1)};
constexpr std::array kPath{key(2), bytes(12)};
constexpr std::array kQueueSla{key(2), key(2), bytes(kSlaSize)};
constexpr std::array kQueue{key(2), key(2)};
constexpr std::array kEncryption{kOltMac, kPonPort, bytes(1), bytes(2)};
constexpr std::array kLinkSla{kLinkMac, bytes(kSlaSize), bytes(1), bytes(1), bytes(4), bytes(4)};
constexpr std::array kRuleTarget{constant(kOltPortTag), kOltMac, key(2)};
constexpr std::array kRules{constant(kOltPortTag), kOltMac, key(2), kRest};
constexpr std::array kDomainRules{key(2), bytes(2), bytes(3), key(2), bytes(1), key(2), bytes(33)};
constexpr std::array kExtensionSets{constant(kExtensionSetLead), kOltMac, kRest};
constexpr std::array kSyncTime{kOltMac, kPonPort, bytes(2)};
constexpr std::array kDomain{key(2), kRest};

constexpr CardRequest kRequests[] = {
    {1, Purpose::sets, Keep::yes, "Set Default OAM Rate", kOamRate, accept},
    {6, Purpose::sets, Keep::no, "Reset OLT", kNothing, resetOlt},
    {7, Purpose::asks, Keep::no, "Get OLT Information", kNothing, getOltInformation},
    {8, Purpose::sets, Keep::no, "Enable OLT", kNothing, enableOlt},
    {9, Purpose::sets, Keep::no, "Disable OLT", kNothing, disableOlt},
    {68, Purpose::asks, Keep::no, "Get List of Discovered Links", kNothing, listDiscoveredLinks},
    {80, Purpose::sets, Keep::yes, "Set OLT Bridging Configuration", kBridging, setBridging},
    {83, Purpose::sets, Keep::no, "Reset ONU", kLink, resetOnu},
    {118, Purpose::asks, Keep::no, "Get List of All Known Logical Links", kNothing, listKnownLinks},
    {119, Purpose::sets, Keep::no, "Clear All Provisioning for Logical Link", kLink, clearLink},
    {273, Purpose::sets, Keep::yes, "ONU port VLAN", kOnuPortVlan, setOnuPortVlan},
    {294, Purpose::sets, Keep::yes, "Clear All Allowed Links", kPortOnly, clearAllowedLinks},
    {299, Purpose::sets, Keep::yes, "CTC Set Ethernet Port", kEthernetPort, setOnOnu},
    {301, Purpose::asks, Keep::no, "Get OLT NVS Enabled", kNothing, getNvsEnabled},
    {302, Purpose::sets, Keep::no, "Set OLT NVS Enabled", kNvs, setNvsEnabled},
    {312, Purpose::asks, Keep::no, "Get Statistics", kStatistics, getStatistics},
    {335, Purpose::sets, Keep::yes, "Set OLT IP Multicast Global Provisioning", kMulticastGlobal,
     accept},
    {337, Purpose::sets, Keep::yes, "Set OLT IP Multicast Domain Proxy Provisioning",
     kMulticastProxy, accept},
    {349, Purpose::sets, Keep::yes, "Set OLT IP Multicast Host Copy", kMulticastHostCopy, accept},
    {355, Purpose::sets, Keep::yes, "Set DBA Polling Interval High Resolution", kPollingInterval,
     accept},
    {359, Purpose::sets, Keep::yes, "Set EPON Loop Timing", kLoopTiming, accept},
    {363, Purpose::asks, Keep::no, "Get ONU Information", kLink, getOnuInformation},
    {371, Purpose::sets, Keep::yes, "Set Aggregate Bandwidth", kAggregateBandwidth, accept},
    {376, Purpose::sets, Keep::yes, "Set Path", kPath, setPath},
    {377, Purpose::asks, Keep::no, "Get All Paths", kNothing, getAllPaths},
    {381, Purpose::asks, Keep::no, "Get All Domains", kNothing, getAllDomains},
    {384, Purpose::sets, Keep::yes, "Set Queue SLA", kQueueSla, setQueueSla},
    {385, Purpose::sets, Keep::yes, "Enable Link", kLink, setOnLink},
    {387, Purpose::sets, Keep::no, "Delete Queue SLA", kQueue, deleteQueueSla},
    {388, Purpose::asks, Keep::no, "Get OLT Bridging Mode", kLink, getBridgingMode},
    {393, Purpose::sets, Keep::yes, "Set Encryption Mode Default", kEncryption, accept},
    {397, Purpose::sets, Keep::yes, "Set Link SLA", kLinkSla, setOnLink},
    {399, Purpose::asks, Keep::no, "Get OLT port/link rules", kRuleTarget, getRules},
    {400, Purpose::sets, Keep::yes, "Set OLT rule", kRules, addRules},
    {401, Purpose::sets, Keep::no, "Delete OLT port/link rule", kRules, deleteRules},
    {403, Purpose::sets, Keep::yes, "Set Domain Rules", kDomainRules, accept},
    {412, Purpose::sets, Keep::yes, "Set DBA Aggregate Bandwidth", kAggregateBandwidth, accept},
    {435, Purpose::asks, Keep::no, "Get OAM Extension Set Support", kExtensionSets,
     getExtensionSets},
    {436, Purpose::sets, Keep::yes, "Set OAM Extension Set Support", kExtensionSets,
     setExtensionSets},
    {544, Purpose::sets, Keep::yes, "Set EPON Sync Time", kSyncTime, accept},
    {549, Purpose::sets, Keep::yes, "Set Domain (version 2)", kDomain, setDomain},
    {585, Purpose::asks, Keep::no, "Get CTC 2.1 Optical Transceiver Diagnosis", kLink,
     getDiagnosis},
};
static_assert(std::ranges::is_sorted(kRequests, std::less_equal{}, &CardRequest::id),
              "ids must ascend, each once: the look-up searches by halves");

Result carryOut(Exchange& exchange) {
    if (!exchange.request.lengthAgrees()) {
        return Result::parameterOutOfRange;
    }
    const auto* request = findCardRequest(exchange.request.id);
    if (request == nullptr) {
        return Result::unsupported;
    }
    const auto key =
        matchLayout(request->layout, exchange.request.payload, exchange.card.identity.mac);
    auto& store = exchange.card.configuration.accepted;
    if (!key || (request->keep == Keep::yes && !store.hasRoomFor(request->id, *key))) {
        return Result::parameterOutOfRange;
    }
    exchange.key = *key;
    const auto result = request->handler(exchange);
    if (result == Result::ok && request->keep == Keep::yes) {
        store.put(request->id, *key, exchange.request.payload);
    }
    return result;
}

}  // namespace

Result accept(Exchange&) {
    return Result::ok;
}

std::span<const CardRequest> cardRequests() {
    return kRequests;
}

const CardRequest* findCardRequest(std::uint16_t id) {
    const auto* found = std::ranges::lower_bound(kRequests, id, {}, &CardRequest::id);
    return found != std::end(kRequests) && found->id == id ? found : nullptr;
}

bool isSetting(std::uint16_t id) {
    const auto* request = findCardRequest(id);
    return request != nullptr && request->purpose == Purpose::sets;
}

void pretendRequest(Exchange& exchange) {
    beginAnswer(exchange.answer, exchange.request.id, exchange.request.ctag);
    finishAnswer(exchange.answer, Result::ok);
}

void answerRequest(Exchange& exchange) {
    beginAnswer(exchange.answer, exchange.request.id, exchange.request.ctag);
    finishAnswer(exchange.answer, carryOut(exchange));
}

}  // namespace ponmgr::sim
