// How a card is found out, marked, switched and reported.

#include "app/Exception.h"
#include "ipc/IPCWorker.h"
#include "poncard/PONCardHelper.h"

namespace ponmgr {

namespace {

/// The only card that this system manages.
constexpr const char* kProductCode = "3723";

/// What the OAM extension requests begin with, before the card's MAC address; fixed by the card's
/// management protocol.
constexpr std::uint8_t kOamTarget = 8;

constexpr std::uint8_t kOamSetTypes[] = {1, 2, 3, 4};

struct OamExtensionSet {
    std::uint8_t type;
    std::uint8_t length;
    std::uint8_t version;
    const char* oui;
    std::uint8_t state;
};

/// The set whose state on the card says that this system has configured it.
constexpr const char* kMarkerOui = "111111";

constexpr OamExtensionSet kOamSets[] = {
    {1, 5, 0, "000db6", 1},
    {2, 5, 0, kMarkerOui, 1},
    {3, 5, 0, "aaaaaa", 0},
    {4, 5, 0, "00a1f5", 0},
};

Container* findMarker(Container& answer) {
    if (!answer.hasList("oam_sets")) {
        return nullptr;
    }
    for (const auto& set : answer.getList("oam_sets")) {
        if (set && set->getValue("oui") == kMarkerOui) {
            return set.get();
        }
    }
    return nullptr;
}

}  // namespace

bool PONCardHelper::doRequestOltEponMac() {
    return guarded(__func__, [this] {
        Container* const answer = exchange(&RequestMessage::addGetOLTInformation);
        card.clearMacAddress();
        if (answer != nullptr && answer->getValue("product_code") == kProductCode) {
            card.setMacAddress(answer->getValue("olt_epon_mac"));
            card.setAppVersion(answer->getValue("firmware_version"));
        }
        card.setStatusReported(false);
        card.setOnlineStatus(true);
    });
}

bool PONCardHelper::doRequestNVSEnabled() {
    return guarded(__func__, [this] {
        isGetNVSEnabled = false;
        Container* const answer = exchange(&RequestMessage::addGetOLTNVSEnabled);
        if (answer != nullptr) {
            card.setNVSEnabled(answer->getValue("current") == "1");
        }
        isGetNVSEnabled = true;
    });
}

bool PONCardHelper::doSetNVSDisabled() {
    return guarded(__func__, [this] {
        TKMPayload payload;
        payload.addU8Number(0);
        exchange(&RequestMessage::addSetOLTNVSEnabled, payload);
    });
}

bool PONCardHelper::doRequestCtcMode() {
    const char* operation = __func__;
    const bool answered = guarded(operation, [this, operation] {
        TKMPayload payload;
        payload.addU8Number(kOamTarget).addHex(card.getHexMacAddress());
        for (const std::uint8_t type : kOamSetTypes) {
            payload.addU8Number(type).addU8Number(0);
        }
        Container* const answer = exchange(&RequestMessage::addGetOAMExtensionSetSupport, payload);
        isOnCtcMode = false;
        if (answer == nullptr) {
            PONMGR_THROW_FROM("Container can't be null", operation);
        }
        Container* const marker = findMarker(*answer);
        isOnCtcMode = marker != nullptr && marker->getValue("state") == "1";
    });
    if (!answered) {
        isOnCtcMode = false;
    }
    return answered;
}

bool PONCardHelper::doSetEnCtcMode() {
    return guarded(__func__, [this] {
        TKMPayload payload;
        payload.addU8Number(kOamTarget).addHex(card.getHexMacAddress());
        for (const auto& set : kOamSets) {
            payload.addU8Number(set.type).addU8Number(set.length).addU8Number(set.version);
            payload.addHex(set.oui).addU8Number(set.state);
        }
        exchange(&RequestMessage::addSetOamExtensionSetSupport, payload);
    });
}

bool PONCardHelper::requestHasDomain() {
    return guarded(__func__, [this] {
        Container* const answer = exchange(&RequestMessage::doAddGetAllDomains);
        // Any answer will do, also one of a card with several domains, whose record has no fields
        // read from it: every record has an "id", and an untouched one is "0". What this tells
        // apart is a card that answers from one that doesn't.
        if (answer != nullptr && !answer->getValue("id").empty()) {
            hasDomain = true;
        }
    });
}

bool PONCardHelper::doDisableOLT() {
    return guarded(__func__, [this] { exchange(&RequestMessage::addDisableOLT); });
}

bool PONCardHelper::doEnableOLT() {
    return guarded(__func__, [this] { exchange(&RequestMessage::addEnableOLT); });
}

bool PONCardHelper::doResetOLT() {
    return guarded(__func__, [this] { exchange(&RequestMessage::addResetOLT); });
}

void PONCardHelper::setOLTOnlineStatus(bool online) {
    printFailures(__func__, [this, online] {
        if (card.getOnlineStatus() == online) {
            return;
        }
        card.setOnlineStatus(online);
        card.setStatusReported(false);
    });
}

void PONCardHelper::doReportOLTModule() {
    printFailures(__func__, [this] {
        if (card.getStatusReported()) {
            return;
        }
        const bool online = card.getOnlineStatus();
        IPCWorker::getInstance()->notify("/olt/new", card.getJsonData());
        card.setStatusReported(true);
        // The ping loop doesn't wait for this: what it has changed meanwhile is not in the report.
        if (card.getOnlineStatus() != online) {
            card.setStatusReported(false);
        }
    });
}

}  // namespace ponmgr
