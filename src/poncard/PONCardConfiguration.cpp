// The one configuration that every card is put into. The constants stand here in sending order,
// with their widths, so that they can be checked against the card's manual.

#include "poncard/PONCardHelper.h"
#include "poncard/PayloadTable.h"

namespace ponmgr {

namespace {

// --- for each PON port, behind the card's MAC address and the port ---

constexpr PayloadField kDbaAggregateBandwidth[] = {u32Field(0), u16Field(0), u8Field(0)};

constexpr PayloadField kAggregateBandwidth[] = {u32Field(0), u16Field(0), u8Field(0)};

constexpr PayloadField kEncryptionModeDefault[] = {u8Field(0), u16Field(0)};

constexpr PayloadField kDbaPollingInterval[] = {u16Field(5)};

constexpr PayloadField kEponLoopTiming[] = {
    u16Field(0),
    u16Field(6750),
    u16Field(3125),
    u16Field(0),
};

constexpr PayloadField kEponSyncTime[] = {u16Field(16)};

// --- for the whole card ---

constexpr PayloadField kDefaultOamRate[] = {u8Field(1), u8Field(20), u8Field(1)};

constexpr PayloadField kBridging[] = {
    u32Field(0x00050000), boolField(false), u8Field(24), boolField(true),
    boolField(true),      boolField(false), u8Field(1),
};

/// The alternative bridging set-up; not part of the configuration.
constexpr PayloadField kBridgingAdvanced[] = {
    u32Field(0),     boolField(false), u8Field(255), boolField(true),
    boolField(true), boolField(false), u8Field(1),
};

/// The eight service paths. Ids step by two: a path and its successor are one pair.
struct ServicePath {
    std::uint16_t id;
    std::uint16_t a;
    std::uint16_t b;
};
constexpr ServicePath kPaths[] = {
    {0x2000, 1, 2}, {0x2002, 1, 3}, {0x2004, 0, 3}, {0x2006, 0, 2},
    {0x2008, 0, 0}, {0x200A, 0, 2}, {0x200C, 1, 1}, {0x200E, 1, 3},
};
constexpr std::uint16_t kPathC = 32;

constexpr PayloadField kMulticastGlobal[] = {
    u16Field(0x1000),
    u32Field(1000000),
    u16Field(0),
};

/// The one domain of the card.
constexpr std::uint16_t kDomain = 0x0402;

constexpr PayloadField kDomainVersion2[] = {
    u16Field(kDomain), u16Field(0),      u8Field(16),      u8Field(16),      u8Field(16),
    u8Field(2),        u16Field(0),      u8Field(2),       u16Field(2),      u16Field(6),
    u8Field(2),        u16Field(0x2004), u16Field(0x2006), u16Field(0),      u8Field(2),
    u16Field(4),       u16Field(8),      u8Field(2),       u16Field(0x2000), u16Field(0x2002),
};

// The domain's rule: head, x, one byte 1, y, tail.
constexpr PayloadField kDomainRuleHead[] = {
    u16Field(kDomain), u16Field(1), u8Field(0), u8Field(0), u8Field(1),
};
constexpr PayloadField kDomainRuleBetween[] = {u8Field(1)};
constexpr PayloadField kDomainRuleTail[] = {
    u8Field(1), u8Field(10), u8Field(3),  u8Field(3),  u8Field(2),  u16Field(0), u8Field(9),
    u8Field(4), u16Field(0), u16Field(0), u8Field(11), u8Field(4),  u16Field(0), u16Field(0),
    u8Field(1), u8Field(1),  u8Field(0),  u8Field(0),  u64Field(0), u8Field(7),  u8Field(0),
};

constexpr PayloadField kMulticastProxy[] = {
    u16Field(kDomain),
    u32Field(3),
    u32Field(3),
    u32Field(0),
    u32Field(1000000),
    u32Field(10000),
    u16Field(1000),
    u16Field(0),
    u16Field(2),
    u16Field(600),
    u16Field(580),
    u16Field(55),
    u16Field(2),
    u16Field(800),
    u16Field(2),
    u16Field(110),
    u16Field(10),
    u16Field(0),
    u16Field(1000),
    u16Field(0),
    u32Field(0xC0A86502),  // 192.168.101.2
    u64Field(0xFE80000000000000),
    u64Field(1),  // fe80::1
};

constexpr PayloadField kMulticastHostCopy[] = {
    u16Field(kDomain), u8Field(0), u8Field(6), u8Field(0), u8Field(6), u8Field(0),
    u8Field(6),        u8Field(6), u8Field(7), u8Field(6), u8Field(6), u8Field(6),
    u8Field(6),        u8Field(6), u8Field(6), u8Field(0),
};

// --- paths that nobody uses any more ---

constexpr std::uint16_t kFirstUserPath = 9;
/// Up to 8191; the service paths begin above.
constexpr std::uint16_t kUserPathRange = 8182;
constexpr std::uint16_t kUnusedUpTo = 2;

/// The ids of the paths that are not in use, in the order of the answer. Throws what std::stoi
/// throws.
std::vector<std::uint16_t> unusedPaths(Container& answer) {
    std::vector<std::uint16_t> ids;
    for (const auto& path : answer.getList("paths")) {
        if (!path) {
            continue;
        }
        const auto id = static_cast<std::uint16_t>(std::stoi(path->getValue("id")));
        // In 16 bits without a sign, so that the ids below the first wrap out of the range.
        if (static_cast<std::uint16_t>(id - kFirstUserPath) > kUserPathRange) {
            continue;
        }
        const auto usage = static_cast<std::uint16_t>(std::stoi(path->getValue("usage_count")));
        if (usage <= kUnusedUpTo) {
            ids.push_back(id);
        }
    }
    return ids;
}

}  // namespace

bool PONCardHelper::sendFields(const char* operation, PayloadRequest request,
                               std::span<const PayloadField> fields) {
    return guarded(operation, [&] {
        TKMPayload payload;
        addFields(payload, fields);
        exchange(request, payload);
    });
}

bool PONCardHelper::sendPortFields(const char* operation, PayloadRequest request,
                                   std::uint16_t port, std::span<const PayloadField> fields) {
    return guarded(operation, [&] {
        TKMPayload payload;
        payload.addHex(card.getHexMacAddress()).addU16Number(port);
        addFields(payload, fields);
        exchange(request, payload);
    });
}

bool PONCardHelper::doSetDBAAggregateBandwidth(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addSetDBAAggregateBandwidth, port,
                          kDbaAggregateBandwidth);
}

bool PONCardHelper::doSetAggregateBandwidth(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addSetAggregateBandwidth, port,
                          kAggregateBandwidth);
}

bool PONCardHelper::doSetEncryptionModeDefault(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addSetEncryptionModeDefault, port,
                          kEncryptionModeDefault);
}

bool PONCardHelper::doClearAllAllowedLinks(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addClearAllAllowedLinks, port, {});
}

bool PONCardHelper::doSetDBAPollingIntervalHighResolution(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addSetDBAPollingIntervalHighResolution, port,
                          kDbaPollingInterval);
}

bool PONCardHelper::doSetEPONLoopTiming(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addSetEPONLoopTiming, port, kEponLoopTiming);
}

bool PONCardHelper::doSetEPONSyncTime(std::uint16_t port) {
    return sendPortFields(__func__, &RequestMessage::addSetEPONSyncTime, port, kEponSyncTime);
}

bool PONCardHelper::doSetDefaultOAMRate() {
    return sendFields(__func__, &RequestMessage::addSetDefaultOAMRate, kDefaultOamRate);
}

bool PONCardHelper::doSetOLTBridgingConfiguration() {
    return sendFields(__func__, &RequestMessage::addSetOLTBridgingConfiguration, kBridging);
}

bool PONCardHelper::doSetEnBridgeAdvanced() {
    return sendFields(__func__, &RequestMessage::addSetOLTBridgingConfiguration, kBridgingAdvanced);
}

bool PONCardHelper::doSetPath(std::uint16_t pathId, std::uint16_t a, std::uint16_t b,
                              std::uint16_t c) {
    // c stands before b, and twice: the second half of the request is the way back.
    const PayloadField fields[] = {u16Field(pathId), u16Field(a), u16Field(1), u16Field(c),
                                   u16Field(b),      u16Field(1), u16Field(c)};
    return sendFields(__func__, &RequestMessage::addSetPath, fields);
}

bool PONCardHelper::doSetAllPaths() {
    for (const ServicePath& path : kPaths) {
        doSetPath(path.id, path.a, path.b, kPathC);
    }
    return true;
}

bool PONCardHelper::doSetOLTIPMulticastGlobalProvisioning() {
    return sendFields(__func__, &RequestMessage::addSetOLTIPMulticastGlobalProvisioning,
                      kMulticastGlobal);
}

bool PONCardHelper::doSetDomainVersion2() {
    return sendFields(__func__, &RequestMessage::addSetDomainVersion2, kDomainVersion2);
}

bool PONCardHelper::doSetDomainRules(std::uint16_t x, std::uint16_t y) {
    return guarded(__func__, [&] {
        TKMPayload payload;
        addFields(payload, kDomainRuleHead);
        payload.addU16Number(x);
        addFields(payload, kDomainRuleBetween);
        payload.addU16Number(y);
        addFields(payload, kDomainRuleTail);
        exchange(&RequestMessage::addSetDomainRules, payload);
    });
}

bool PONCardHelper::doSetOLTIPMulticastDomainProxyProvisioning() {
    return sendFields(__func__, &RequestMessage::addSetOLTIPMulticastDomainProxyProvisioning,
                      kMulticastProxy);
}

bool PONCardHelper::doSetOLTIPMulticastHostCopy() {
    return sendFields(__func__, &RequestMessage::addSetOLTIPMulticastHostCopy, kMulticastHostCopy);
}

bool PONCardHelper::doAllDeletePath(std::uint16_t pathId) {
    return guarded(__func__, [&] {
        clear();
        for (const std::uint16_t id : {pathId, static_cast<std::uint16_t>(pathId + 1)}) {
            TKMPayload payload;
            payload.addU16Number(id).addU16Number(0);
            requests.addDeleteQueueSLA(&payload);
        }
        sendRequestMessage();
    });
}

bool PONCardHelper::clearAllUnusedPaths() {
    return guarded(__func__, [this] {
        Container* const answer = exchange(&RequestMessage::addGetAllPath);
        if (answer != nullptr && answer->hasList("paths")) {
            // Collected first: the first deletion takes the answer away.
            for (const std::uint16_t id : unusedPaths(*answer)) {
                doAllDeletePath(id);
            }
        }
        clear();
    });
}

}  // namespace ponmgr
