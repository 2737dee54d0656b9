#pragma once

#include <cstdint>

namespace ponmgr {

/// Ids of TK messages, as the cards' management protocol numbers them. A response carries the id of
/// its request; ids from 0x8000 up are events that a card sends unasked.
enum class TKIDMessage : std::uint16_t {
    SetDefaultOAMRate = 0x0001,
    ResetOLT = 0x0006,
    GetOLTInformation = 0x0007,
    EnableOLT = 0x0008,
    DisableOLT = 0x0009,
    GetListOfDiscoveredLinks = 0x0044,
    SetOLTBridgingConfiguration = 0x0050,
    ResetONU = 0x0053,
    GetListOfAllKnownLogicalLinks = 0x0076,
    ClearAllProvisioningForLogicalLink = 0x0077,
    OnuPortVlan = 0x0111,
    ClearAllAllowedLinks = 0x0126,
    CTCSetEthernetPort = 0x012B,
    GetOLTNVSEnabled = 0x012D,
    SetOLTNVSEnabled = 0x012E,
    GetStatistics = 0x0138,
    SetOLTIPMulticastGlobalProvisioning = 0x014F,
    SetOLTIPMulticastDomainProxyProvisioning = 0x0151,
    SetOLTIPMulticastHostCopy = 0x015D,
    SetDBAPollingIntervalHighResolution = 0x0163,
    SetEPONLoopTiming = 0x0167,
    GetONUInformation = 0x016B,
    SetAggregateBandwidth = 0x0173,
    SetPath = 0x0178,
    GetAllPaths = 0x0179,
    GetAllDomains = 0x017D,
    SetQueueSLA = 0x0180,
    EnableLink = 0x0181,
    DeleteQueueSLA = 0x0183,
    GetOLTBridgingMode = 0x0184,
    SetEncryptionModeDefault = 0x0189,
    SetLinkSLA = 0x018D,
    GetOLTRule = 0x018F,
    SetOLTRule = 0x0190,
    DeleteOLTPortLinkRule = 0x0191,
    SetDomainRules = 0x0193,
    SetDBAAggregateBandwidth = 0x019C,
    GetOAMExtensionSetSupport = 0x01B3,
    SetOAMExtensionSetSupport = 0x01B4,
    SetEPONSyncTime = 0x0220,
    SetDomainVersion2 = 0x0225,
    GetCTC21OpticalTransceiverDiagnosis = 0x0249,

    OLTReady = 0x8000,
    LinkDiscovery = 0x8019,
    ReportAlarm = 0x801A,
    OnuLinkMovedBetweenPonPorts = 0x802B,
};

/// The first id that is an event.
constexpr std::uint16_t kFirstEventId = 0x8000;

}  // namespace ponmgr
