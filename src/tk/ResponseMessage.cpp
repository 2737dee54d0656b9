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

using RM = ResponseMessage;
using ID = TKIDMessage;

// By id, ascending. Reset OLT and Reset ONU are left out on purpose: a card that answers them makes
// the operation print the not-handled text, which is how the log shows that the reset was taken.
constexpr std::array kDispatch = {
    Dispatch{ID::SetDefaultOAMRate, &RM::parseCheckResultOk},
    Dispatch{ID::GetOLTInformation, &RM::parseGet_OLT_Information},
    Dispatch{ID::EnableOLT, &RM::parseCheckResultOk},
    Dispatch{ID::DisableOLT, &RM::parseCheckResultOk},
    Dispatch{ID::GetListOfDiscoveredLinks, &RM::parseGet_List_of_Discovered_Links},
    Dispatch{ID::SetOLTBridgingConfiguration, &RM::parseCheckResultOk},
    Dispatch{ID::GetListOfAllKnownLogicalLinks, &RM::parseGet_List_of_All_Known_Logical_Links},
    Dispatch{ID::ClearAllProvisioningForLogicalLink, &RM::parseCheckResultOk},
    Dispatch{ID::OnuPortVlan, &RM::parseCheckResultOk},
    Dispatch{ID::ClearAllAllowedLinks, &RM::parseCheckResultOk},
    Dispatch{ID::CTCSetEthernetPort, &RM::parseCheckResultOk},
    Dispatch{ID::GetOLTNVSEnabled, &RM::parseGet_NVS_Enabled},
    Dispatch{ID::SetOLTNVSEnabled, &RM::parseCheckResultOk},
    Dispatch{ID::GetStatistics, &RM::parseGet_Statistics},
    Dispatch{ID::SetOLTIPMulticastGlobalProvisioning, &RM::parseCheckResultOk},
    Dispatch{ID::SetOLTIPMulticastDomainProxyProvisioning, &RM::parseCheckResultOk},
    Dispatch{ID::SetOLTIPMulticastHostCopy, &RM::parseCheckResultOk},
    Dispatch{ID::SetDBAPollingIntervalHighResolution, &RM::parseCheckResultOk},
    Dispatch{ID::SetEPONLoopTiming, &RM::parseCheckResultOk},
    Dispatch{ID::GetONUInformation, &RM::parseGet_ONU_Information},
    Dispatch{ID::SetAggregateBandwidth, &RM::parseCheckResultOk},
    Dispatch{ID::SetPath, &RM::parseCheckResultOk},
    Dispatch{ID::GetAllPaths, &RM::parseGet_All_Paths},
    Dispatch{ID::GetAllDomains, &RM::parseGet_All_Domains},
    Dispatch{ID::SetQueueSLA, &RM::parseCheckResultOk},
    Dispatch{ID::EnableLink, &RM::parseCheckResultOk},
    Dispatch{ID::DeleteQueueSLA, &RM::parseCheckResultOk},
    Dispatch{ID::GetOLTBridgingMode, &RM::parseGet_OLT_Bridging_Mode},
    Dispatch{ID::SetEncryptionModeDefault, &RM::parseCheckResultOk},
    Dispatch{ID::SetLinkSLA, &RM::parseCheckResultOk},
    Dispatch{ID::GetOLTRule, &RM::parseGet_OLT_PortLink_Rules},
    Dispatch{ID::SetOLTRule, &RM::parseCheckResultOk},
    Dispatch{ID::DeleteOLTPortLinkRule, &RM::parseCheckResultOk},
    Dispatch{ID::SetDomainRules, &RM::parseCheckResultOk},
    Dispatch{ID::SetDBAAggregateBandwidth, &RM::parseCheckResultOk},
    Dispatch{ID::GetOAMExtensionSetSupport, &RM::parseGet_OAM_Extension_Set_Support},
    Dispatch{ID::SetOAMExtensionSetSupport, &RM::parseCheckResultOk},
    Dispatch{ID::SetEPONSyncTime, &RM::parseCheckResultOk},
    Dispatch{ID::SetDomainVersion2, &RM::parseCheckResultOk},
    Dispatch{ID::GetCTC21OpticalTransceiverDiagnosis,
             &RM::parseGet_CTC_21_Optical_Transceiver_Diagnosis},
    Dispatch{ID::OLTReady, &RM::parseOLT_Ready},
    Dispatch{ID::LinkDiscovery, &RM::parseLink_Discovery},
    Dispatch{ID::ReportAlarm, &RM::parseReport_Alarm},
    Dispatch{ID::OnuLinkMovedBetweenPonPorts, &RM::parseOnuLinkMovedBetweenPonPorts},
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
        failure = exception.getMessage();
    } catch (...) {
        failure = "Unknown Exception Error";
    }
    clear();
    throw Exception(failure, parser, __LINE__);
}

}  // namespace ponmgr
