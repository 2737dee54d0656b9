#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tk/TKMPayload.h"
#include "tk/TKMessage.h"

namespace ponmgr {

/// The requests of one exchange, in the order they are sent, and the catalogue of every request
/// that the daemon sends. A payload given to an entry is built and copied; it stays the caller's.
/// Entries throw what TKMessage throws and add nothing then. Used by one thread at a time.
class RequestMessage {
public:
    using Messages = std::vector<std::unique_ptr<TKMessage>>;

    RequestMessage() = default;
    RequestMessage(const RequestMessage&) = delete;
    RequestMessage& operator=(const RequestMessage&) = delete;
    virtual ~RequestMessage();

    /// A message with the next ctag, which is used up by it; not added to the list.
    std::unique_ptr<TKMessage> getNewMessage(TKIDMessage id, const unsigned char* data,
                                             std::uint16_t length);

    /// Appends a message built elsewhere.
    void addMessage(std::unique_ptr<TKMessage> message);

    const Messages& getAll() const { return messages; }

    /// Empties the list; the ctags go on from where they are.
    void clear();

    /// Prints a first and a last line around the messages' own (empty) output.
    void debug() const;

    void addResetOLT() { add(TKIDMessage::ResetOLT); }
    void addGetOLTInformation() { add(TKIDMessage::GetOLTInformation); }
    void addEnableOLT() { add(TKIDMessage::EnableOLT); }
    void addDisableOLT() { add(TKIDMessage::DisableOLT); }
    void addGetListOfDiscoveredLinks() { add(TKIDMessage::GetListOfDiscoveredLinks); }
    void addGetListOfAllKnownLogicalLinks() { add(TKIDMessage::GetListOfAllKnownLogicalLinks); }
    void addGetOLTNVSEnabled() { add(TKIDMessage::GetOLTNVSEnabled); }
    void addGetAllPath() { add(TKIDMessage::GetAllPaths); }
    void doAddGetAllDomains() { add(TKIDMessage::GetAllDomains); }

    void addSetDefaultOAMRate(TKMPayload* p) { add(TKIDMessage::SetDefaultOAMRate, p); }
    void addSetOLTBridgingConfiguration(TKMPayload* p) {
        add(TKIDMessage::SetOLTBridgingConfiguration, p);
    }
    void addResetONU(TKMPayload* p) { add(TKIDMessage::ResetONU, p); }
    void addClearAllProvisioningForLogicalLink(TKMPayload* p) {
        add(TKIDMessage::ClearAllProvisioningForLogicalLink, p);
    }
    void addOnuPortVlan(TKMPayload* p) { add(TKIDMessage::OnuPortVlan, p); }
    void addClearAllAllowedLinks(TKMPayload* p) { add(TKIDMessage::ClearAllAllowedLinks, p); }
    void addCTCSetEthernetPort(TKMPayload* p) { add(TKIDMessage::CTCSetEthernetPort, p); }
    void addSetOLTNVSEnabled(TKMPayload* p) { add(TKIDMessage::SetOLTNVSEnabled, p); }
    void addGetStatistics(TKMPayload* p) { add(TKIDMessage::GetStatistics, p); }
    void addSetOLTIPMulticastGlobalProvisioning(TKMPayload* p) {
        add(TKIDMessage::SetOLTIPMulticastGlobalProvisioning, p);
    }
    void addSetOLTIPMulticastDomainProxyProvisioning(TKMPayload* p) {
        add(TKIDMessage::SetOLTIPMulticastDomainProxyProvisioning, p);
    }
    void addSetOLTIPMulticastHostCopy(TKMPayload* p) {
        add(TKIDMessage::SetOLTIPMulticastHostCopy, p);
    }
    void addSetDBAPollingIntervalHighResolution(TKMPayload* p) {
        add(TKIDMessage::SetDBAPollingIntervalHighResolution, p);
    }
    void addSetEPONLoopTiming(TKMPayload* p) { add(TKIDMessage::SetEPONLoopTiming, p); }
    void addGetONUInformation(TKMPayload* p) { add(TKIDMessage::GetONUInformation, p); }
    void addSetAggregateBandwidth(TKMPayload* p) { add(TKIDMessage::SetAggregateBandwidth, p); }
    void addSetPath(TKMPayload* p) { add(TKIDMessage::SetPath, p); }
    void addSetQueueSLA(TKMPayload* p) { add(TKIDMessage::SetQueueSLA, p); }
    void addEnableLink(TKMPayload* p) { add(TKIDMessage::EnableLink, p); }
    void addDeleteQueueSLA(TKMPayload* p) { add(TKIDMessage::DeleteQueueSLA, p); }
    void addGetOLTBridgingMode(TKMPayload* p) { add(TKIDMessage::GetOLTBridgingMode, p); }
    void addSetEncryptionModeDefault(TKMPayload* p) {
        add(TKIDMessage::SetEncryptionModeDefault, p);
    }
    void addSetLinkSLA(TKMPayload* p) { add(TKIDMessage::SetLinkSLA, p); }
    void addGetOltRule(TKMPayload* p) { add(TKIDMessage::GetOLTRule, p); }
    void addOltRule(TKMPayload* p) { add(TKIDMessage::SetOLTRule, p); }
    void addDeleteOltPortLinkRule(TKMPayload* p) { add(TKIDMessage::DeleteOLTPortLinkRule, p); }
    void addSetDomainRules(TKMPayload* p) { add(TKIDMessage::SetDomainRules, p); }
    void addSetDBAAggregateBandwidth(TKMPayload* p) {
        add(TKIDMessage::SetDBAAggregateBandwidth, p);
    }
    void addGetOAMExtensionSetSupport(TKMPayload* p) {
        add(TKIDMessage::GetOAMExtensionSetSupport, p);
    }
    void addSetOamExtensionSetSupport(TKMPayload* p) {
        add(TKIDMessage::SetOAMExtensionSetSupport, p);
    }
    void addSetEPONSyncTime(TKMPayload* p) { add(TKIDMessage::SetEPONSyncTime, p); }
    void addSetDomainVersion2(TKMPayload* p) { add(TKIDMessage::SetDomainVersion2, p); }
    void addGetCTC21OpticalTransceiverDiagnosis(TKMPayload* p) {
        add(TKIDMessage::GetCTC21OpticalTransceiverDiagnosis, p);
    }

private:
    void add(TKIDMessage id);
    void add(TKIDMessage id, TKMPayload* payload);

    Messages messages;
    std::uint16_t ctagCounter = 0;
};

}  // namespace ponmgr
