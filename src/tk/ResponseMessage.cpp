#include "tk/ResponseMessage.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "app/Exception.h"

namespace ponmgr {

namespace {

using Parser = std::unique_ptr<Container> (ResponseMessage::*)(const TKMessage*);

struct Dispatch {
    TKIDMessage id;
    Parser parser;
};

using enum TKIDMessage;

// By id, ascending. Reset OLT and Reset ONU are left out on purpose: a card that answers them makes
// the operation print the not-handled text, which is how the log shows that it has answered.
constexpr std::array kDispatch = {
    Dispatch{SetDefaultOAMRate, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetOLTInformation, &ResponseMessage::parseGet_OLT_Information},
    Dispatch{EnableOLT, &ResponseMessage::parseCheckResultOk},
    Dispatch{DisableOLT, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetListOfDiscoveredLinks, &ResponseMessage::parseGet_List_of_Discovered_Links},
    Dispatch{SetOLTBridgingConfiguration, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetListOfAllKnownLogicalLinks,
             &ResponseMessage::parseGet_List_of_All_Known_Logical_Links},
    Dispatch{ClearAllProvisioningForLogicalLink, &ResponseMessage::parseCheckResultOk},
    Dispatch{OnuPortVlan, &ResponseMessage::parseCheckResultOk},
    Dispatch{ClearAllAllowedLinks, &ResponseMessage::parseCheckResultOk},
    Dispatch{CTCSetEthernetPort, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetOLTNVSEnabled, &ResponseMessage::parseGet_NVS_Enabled},
    Dispatch{SetOLTNVSEnabled, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetStatistics, &ResponseMessage::parseGet_Statistics},
    Dispatch{SetOLTIPMulticastGlobalProvisioning, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetOLTIPMulticastDomainProxyProvisioning, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetOLTIPMulticastHostCopy, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetDBAPollingIntervalHighResolution, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetEPONLoopTiming, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetONUInformation, &ResponseMessage::parseGet_ONU_Information},
    Dispatch{SetAggregateBandwidth, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetPath, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetAllPaths, &ResponseMessage::parseGet_All_Paths},
    Dispatch{GetAllDomains, &ResponseMessage::parseGet_All_Domains},
    Dispatch{SetQueueSLA, &ResponseMessage::parseCheckResultOk},
    Dispatch{EnableLink, &ResponseMessage::parseCheckResultOk},
    Dispatch{DeleteQueueSLA, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetOLTBridgingMode, &ResponseMessage::parseGet_OLT_Bridging_Mode},
    Dispatch{SetEncryptionModeDefault, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetLinkSLA, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetOLTRule, &ResponseMessage::parseGet_OLT_PortLink_Rules},
    Dispatch{SetOLTRule, &ResponseMessage::parseCheckResultOk},
    Dispatch{DeleteOLTPortLinkRule, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetDomainRules, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetDBAAggregateBandwidth, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetOAMExtensionSetSupport, &ResponseMessage::parseGet_OAM_Extension_Set_Support},
    Dispatch{SetOAMExtensionSetSupport, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetEPONSyncTime, &ResponseMessage::parseCheckResultOk},
    Dispatch{SetDomainVersion2, &ResponseMessage::parseCheckResultOk},
    Dispatch{GetCTC21OpticalTransceiverDiagnosis,
             &ResponseMessage::parseGet_CTC_21_Optical_Transceiver_Diagnosis},
    Dispatch{OLTReady, &ResponseMessage::parseOLT_Ready},
    Dispatch{LinkDiscovery, &ResponseMessage::parseLink_Discovery},
    Dispatch{ReportAlarm, &ResponseMessage::parseReport_Alarm},
    Dispatch{OnuLinkMovedBetweenPonPorts, &ResponseMessage::parseOnuLinkMovedBetweenPonPorts},
};

constexpr bool isBefore(const Dispatch& left, const Dispatch& right) {
    return left.id < right.id;
}

static_assert(std::is_sorted(kDispatch.begin(), kDispatch.end(), isBefore) &&
              std::adjacent_find(kDispatch.begin(), kDispatch.end(),
                                 [](const Dispatch& left, const Dispatch& right) {
                                     return !isBefore(left, right);
                                 }) == kDispatch.end());

constexpr std::uint16_t kAccepted = 0;
constexpr std::uint16_t kUnsupported = 1;
constexpr std::uint16_t kOutOfRange = 3;
constexpr std::uint16_t kAcceptedLaterBit = 0x08;

bool isAcceptedLater(std::uint16_t result) {
    return (result & kAcceptedLaterBit) != 0 || result == 4 || result == 2;
}

std::string fromMessage(std::uint16_t id) {
    return "Message ID <" + std::to_string(id) + ">";
}

}  // namespace

ResponseMessage::ResponseMessage(std::chrono::milliseconds pause) : acceptedLaterPause(pause) {}

ResponseMessage::~ResponseMessage() = default;

void ResponseMessage::addResponseMessage(std::unique_ptr<TKMessage> message) {
    messages.push_back(std::move(message));
}

void ResponseMessage::parseAllMessages() {
    // A parser that fails empties the list it is walked from, so the loop ends by its exception
    // without another look at it.
    for (const auto& message : messages) {
        if (auto record = parseMessage(message.get())) {
            containers.push_back(std::move(record));
        }
    }
}

std::unique_ptr<Container> ResponseMessage::parseMessage(const TKMessage* message) {
    if (message == nullptr) {
        PONMGR_THROW("Invalid TKMessage pointer");
    }
    const Dispatch wanted{static_cast<TKIDMessage>(message->getId()), nullptr};
    const auto found = std::lower_bound(kDispatch.begin(), kDispatch.end(), wanted, isBefore);
    if (found == kDispatch.end() || found->id != wanted.id) {
        PONMGR_THROW("Response Message ID (" + std::to_string(message->getId()) + ") not handled");
    }
    return (this->*found->parser)(message);
}

std::unique_ptr<Container> ResponseMessage::parseCheckResultOk(const TKMessage* message) {
    const std::uint16_t result = message->getResult();
    const std::uint16_t id = message->getId();
    if (result == kAccepted) {
        return nullptr;
    }
    if (isAcceptedLater(result)) {
        std::this_thread::sleep_for(acceptedLaterPause);
        return nullptr;
    }
    if (result == kUnsupported) {
        PONMGR_THROW("Unsupported " + fromMessage(id));
    }
    if (result == kOutOfRange) {
        PONMGR_THROW("Error Return Code(PARAM_OUT_OF_RANGE) from " + fromMessage(id));
    }
    PONMGR_THROW("Invalid Return Code(" + std::to_string(result) + ") from " + fromMessage(id));
}

Container* ResponseMessage::getContainer(std::size_t index) {
    return index < containers.size() ? containers[index].get() : nullptr;
}

void ResponseMessage::clear() {
    messages.clear();
    containers.clear();
}

std::unique_ptr<Container> ResponseMessage::parseRecord(const char* parser, const Fill& fill) {
    std::string failure;
    try {
        auto record = std::make_unique<Container>();
        std::uint16_t offset = 0;
        fill(&offset, *record);
        return record;
    } catch (const Exception& exception) {
        clear();
        failure = exception.getMessage();
    } catch (...) {
        clear();
        failure = "Unknown Exception Error";
    }
    PONMGR_THROW_FROM(failure, parser);
}

}  // namespace ponmgr
