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

    void addSetDefaultOAMRate(TKMPayload* payload) { add(TKIDMessage::SetDefaultOAMRate, payload); }
    void addSetOLTBridgingConfiguration(TKMPayload* payload) {
        add(TKIDMessage::SetOLTBridgingConfiguration, payload);
    }
    void addResetONU(TKMPayload* payload) { add(TKIDMessage::ResetONU, payload); }
    void addClearAllProvisioningForLogicalLink(TKMPayload* payload) {
        add(TKIDMessage::ClearAllProvisioningForLogicalLink, payload);
    }
    void addOnuPortVlan(TKMPayload* payload) { add(TKIDMessage::OnuPortVlan, payload); }
    void addClearAllAllowedLinks(TKMPayload* payload) {
        add(TKIDMessage::ClearAllAllowedLinks, payload);
    }
    void addCTCSetEthernetPort(TKMPayload* payload) {
        add(TKIDMessage::CTCSetEthernetPort, payload);
    }
    void addSetOLTNVSEnabled(TKMPayload* payload) { add(TKIDMessage::SetOLTNVSEnabled, payload); }
    void addGetStatistics(TKMPayload* payload) { add(TKIDMessage::GetStatistics, payload); }
    void addSetOLTIPMulticastGlobalProvisioning(TKMPayload* payload) {
        add(TKIDMessage::SetOLTIPMulticastGlobalProvisioning, payload);
    }
    void addSetOLTIPMulticastDomainProxyProvisioning(TKMPayload* payload) {
        add(TKIDMessage::SetOLTIPMulticastDomainProxyProvisioning, payload);
    }
    void addSetOLTIPMulticastHostCopy(TKMPayload* payload) {
        add(TKIDMessage::SetOLTIPMulticastHostCopy, payload);
    }
    void addSetDBAPollingIntervalHighResolution(TKMPayload* payload) {
        add(TKIDMessage::SetDBAPollingIntervalHighResolution, payload);
    }
    void addSetEPONLoopTiming(TKMPayload* payload) { add(TKIDMessage::SetEPONLoopTiming, payload); }
    void addGetONUInformation(TKMPayload* payload) { add(TKIDMessage::GetONUInformation, payload); }
    void addSetAggregateBandwidth(TKMPayload* payload) {
        add(TKIDMessage::SetAggregateBandwidth, payload);
    }
    void addSetPath(TKMPayload* payload) { add(TKIDMessage::SetPath, payload); }
    void addSetQueueSLA(TKMPayload* payload) { add(TKIDMessage::SetQueueSLA, payload); }
    void addEnableLink(TKMPayload* payload) { add(TKIDMessage::EnableLink, payload); }
    void addDeleteQueueSLA(TKMPayload* payload) { add(TKIDMessage::DeleteQueueSLA, payload); }
    void addGetOLTBridgingMode(TKMPayload* payload) {
        add(TKIDMessage::GetOLTBridgingMode, payload);
    }
    void addSetEncryptionModeDefault(TKMPayload* payload) {
        add(TKIDMessage::SetEncryptionModeDefault, payload);
    }
    void addSetLinkSLA(TKMPayload* payload) { add(TKIDMessage::SetLinkSLA, payload); }
    void addGetOltRule(TKMPayload* payload) { add(TKIDMessage::GetOLTRule, payload); }
    void addOltRule(TKMPayload* payload) { add(TKIDMessage::SetOLTRule, payload); }
    void addDeleteOltPortLinkRule(TKMPayload* payload) {
        add(TKIDMessage::DeleteOLTPortLinkRule, payload);
    }
    void addSetDomainRules(TKMPayload* payload) { add(TKIDMessage::SetDomainRules, payload); }
    void addSetDBAAggregateBandwidth(TKMPayload* payload) {
        add(TKIDMessage::SetDBAAggregateBandwidth, payload);
    }
    void addGetOAMExtensionSetSupport(TKMPayload* payload) {
        add(TKIDMessage::GetOAMExtensionSetSupport, payload);
    }
    void addSetOamExtensionSetSupport(TKMPayload* payload) {
        add(TKIDMessage::SetOAMExtensionSetSupport, payload);
    }
    void addSetEPONSyncTime(TKMPayload* payload) { add(TKIDMessage::SetEPONSyncTime, payload); }
    void addSetDomainVersion2(TKMPayload* payload) { add(TKIDMessage::SetDomainVersion2, payload); }
    void addGetCTC21OpticalTransceiverDiagnosis(TKMPayload* payload) {
        add(TKIDMessage::GetCTC21OpticalTransceiverDiagnosis, payload);
    }

private:
    void add(TKIDMessage id);
    void add(TKIDMessage id, TKMPayload* payload);

    Messages messages;
    std::uint16_t ctagCounter = 0;
};

}  // namespace ponmgr
